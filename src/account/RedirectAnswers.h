#pragma once

#include <string>

/// What the browser is answered when it comes back from a sign-in: whole answers of the web.
namespace fenlo::redirectAnswers {

/// Leads on to `successPage`, or is a page of our own where that is empty.
std::string success(const std::string& successPage);
std::string failure();

} // namespace fenlo::redirectAnswers
