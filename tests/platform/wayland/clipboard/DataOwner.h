#pragma once

#include "platform/linux/wayland/clipboard/DataControlConnection.h"

#include <atomic>
#include <map>
#include <optional>
#include <thread>
#include <vector>

namespace fenlo::test {

/// Another program that owns a selection of a Wayland desktop, behaving as the test says.
class DataOwner {
public:
    enum class Manner {
        answers,
        late,      // answers when answerNow() is called, also after it has lost the clipboard
        stops,     // writes half and falls silent
        withoutEnd // writes and never closes
    };

    using Forms = std::map<std::string, std::string>;

    /// Returns when it has the clipboard. Without a text it offers the forms only.
    DataOwner(Manner manner, std::optional<std::string> text, Forms forms = {});
    ~DataOwner();

    void answerNow() { m_mayAnswer = true; }

private:
    struct Question {
        std::string form;
        int pipe;
    };

    void own();
    void run(std::stop_token stop);
    void answer(const Question& question);

    const Manner m_manner;
    Forms m_forms;
    const std::unique_ptr<DataControlConnection> m_connection = DataControlConnection::open();
    zwlr_data_control_source_v1* m_source = nullptr;
    std::atomic<bool> m_mayAnswer;
    std::vector<Question> m_questions;
    std::vector<int> m_kept; // pipes that are never closed
    std::jthread m_thread;
};

} // namespace fenlo::test
