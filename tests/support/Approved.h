#pragma once

#include "base/Files.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace fenlo::test {

/// Compares a text with approved/NAME.txt beside the tests, a file that somebody has read and approved. A text that
/// differs is written to received/NAME.txt in the build folder; whoever agrees with it copies it over by hand. The
/// test's target defines both folders (fenlo_approved).
inline void expectApproved(const std::string& name, const std::string& text) {
    const std::filesystem::path received = std::filesystem::path(RECEIVED_FOLDER) / (name + ".txt");
    files::removeQuietly(received);
    const std::string approved = files::read(std::filesystem::path(APPROVED_FOLDER) / (name + ".txt")).value_or("");
    if (approved == text)
        return;
    std::filesystem::create_directories(received.parent_path());
    files::writeAtomically(received, text);
    EXPECT_EQ(approved, text) << "see " << received;
}

} // namespace fenlo::test
