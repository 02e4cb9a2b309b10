#pragma once

#include "support/LoopbackServer.h"

#include <map>

namespace fenlo::test {

/// Of several fields with one name the last.
using FormFields = std::map<std::string, std::string>;

/// The fields of a form as browsers send it.
FormFields parseForm(std::string_view encoded);
/// What stands behind the "?" of the request's target.
FormFields queryOf(const WireRequest& request);
/// Empty when there is no such field.
std::string fieldOf(const FormFields& fields, const std::string& name);
/// The address with these fields as its query.
std::string withQuery(const std::string& address, const FormFields& fields);

} // namespace fenlo::test
