#include "platform/wayland/clipboard/DataOwner.h"

#include "base/Descriptor.h"

#include <poll.h>
#include <stdexcept>
#include <unistd.h>

namespace fenlo::test {

DataOwner::DataOwner(Manner manner, std::optional<std::string> text, Forms forms)
    : m_manner(manner), m_forms(std::move(forms)), m_mayAnswer(manner != Manner::late) {
    if (!m_connection)
        throw std::runtime_error("no Wayland desktop");
    if (text)
        m_forms["text/plain;charset=utf-8"] = *text;
    own();
    const auto isTaken = std::make_shared<bool>(false);
    m_connection->sync(isTaken);
    while (!*isTaken)
        m_connection->handleArrived();
    m_thread = std::jthread([this](std::stop_token stop) { run(stop); });
}

DataOwner::~DataOwner() {
    m_thread.request_stop();
    m_thread.join();
    for (const Question& each : m_questions)
        ::close(each.pipe);
    for (const int pipe : m_kept)
        ::close(pipe);
    zwlr_data_control_source_v1_destroy(m_source);
}

void DataOwner::own() {
    using Source = zwlr_data_control_source_v1;
    static constexpr zwlr_data_control_source_v1_listener listener{
        [](void* self, Source*, const char* form, int pipe) {
            static_cast<DataOwner*>(self)->m_questions.push_back({form, pipe});
        },
        [](void*, Source*) {}, // it still answers what it was asked before
    };
    static constexpr zwlr_data_control_device_v1_listener ignoring{
        [](void*, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* offer) {
            zwlr_data_control_offer_v1_destroy(offer);
        },
        [](void*, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1*) {},
        [](void*, zwlr_data_control_device_v1*) {},
        [](void*, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1*) {},
    };
    zwlr_data_control_device_v1_add_listener(m_connection->device(), &ignoring, this);
    m_source = zwlr_data_control_manager_v1_create_data_source(m_connection->manager());
    zwlr_data_control_source_v1_add_listener(m_source, &listener, this);
    for (const auto& [name, content] : m_forms)
        zwlr_data_control_source_v1_offer(m_source, name.c_str());
    zwlr_data_control_device_v1_set_selection(m_connection->device(), m_source);
}

void DataOwner::run(std::stop_token stop) {
    while (!stop.stop_requested()) {
        m_connection->handleArrived();
        if (m_mayAnswer)
            for (const Question& each : std::exchange(m_questions, {}))
                answer(each);
        pollfd source{m_connection->descriptor(), POLLIN, 0};
        constexpr int often = 5; // milliseconds, for answerNow() and the end
        ::poll(&source, 1, often);
    }
}

void DataOwner::answer(const Question& question) {
    const std::string& content = m_forms[question.form];
    writeAll(question.pipe, m_manner == Manner::stops ? content.substr(0, content.size() / 2) : content);
    if (m_manner == Manner::stops || m_manner == Manner::withoutEnd)
        m_kept.push_back(question.pipe);
    else
        ::close(question.pipe);
}

} // namespace fenlo::test
