#pragma once

#include <gtest/gtest.h>
#include <string>

namespace fenlo {

/// Compares a text with the file that was read and approved: approved/NAME.txt beside the tests. One that differs or is
/// new is written to received/NAME.txt in the build folder and fails; who agrees with it copies it over by hand.
testing::AssertionResult isApproved(const std::string& name, const std::string& text);

} // namespace fenlo
