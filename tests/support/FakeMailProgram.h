#pragma once

#include "platform/MailProgram.h"

namespace fenlo::test {

/// Keeps the drafts it is given, and answers as the test says.
class FakeMailProgram final : public MailProgram {
public:
    std::optional<std::string> open(const MailDraft& draft, std::stop_token) override {
        drafts.push_back(draft);
        return fault;
    }

    std::optional<std::string> fault;
    std::vector<MailDraft> drafts;
};

} // namespace fenlo::test
