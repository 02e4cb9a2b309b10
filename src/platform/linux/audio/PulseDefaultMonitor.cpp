#include "platform/linux/audio/PulseDefaultMonitor.h"

#include <utility>

namespace fenlo {

PulseDefaultMonitor::PulseDefaultMonitor(PulseConnection& connection, Found found)
    : m_connection(connection), m_found(std::move(found)),
      m_subscription(m_connection.subscribe({[this] { connected(); }, [this] { disconnected(); }})) {
    if (m_connection.context())
        connected();
}

PulseDefaultMonitor::~PulseDefaultMonitor() {
    if (pa_context* context = m_connection.context())
        ::pa_context_set_subscribe_callback(context, nullptr, nullptr);
}

void PulseDefaultMonitor::connected() {
    pa_context* const context = m_connection.context();
    ::pa_context_set_subscribe_callback(
        context,
        [](pa_context*, pa_subscription_event_type_t event, std::uint32_t, void* self) {
            callFromPulse([=] { static_cast<PulseDefaultMonitor*>(self)->eventCame(event); });
        },
        this);
    constexpr auto interest =
        static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK);
    if (pa_operation* operation = ::pa_context_subscribe(context, interest, nullptr, nullptr))
        ::pa_operation_unref(operation);
    look();
}

void PulseDefaultMonitor::disconnected() {
    m_question.reset();
    m_lookAgain = false;
}

void PulseDefaultMonitor::eventCame(pa_subscription_event_type_t event) {
    const auto facility = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    const auto type = event & PA_SUBSCRIPTION_EVENT_TYPE_MASK;
    // A sink changes with each step of its volume.
    if (facility != PA_SUBSCRIPTION_EVENT_SINK || type != PA_SUBSCRIPTION_EVENT_CHANGE)
        look();
}

/// Events come in bursts: while one question is under way, a single further one covers all of them.
void PulseDefaultMonitor::look() {
    pa_context* const context = m_connection.context();
    if (m_question)
        m_lookAgain = true;
    if (m_question || !context)
        return;
    m_name.clear();
    m_question.reset(::pa_context_get_server_info(
        context,
        [](pa_context*, const pa_server_info* info, void* self) {
            callFromPulse([=] { static_cast<PulseDefaultMonitor*>(self)->serverAnswered(info); });
        },
        this));
}

void PulseDefaultMonitor::serverAnswered(const pa_server_info* info) {
    m_question.reset();
    if (info && info->default_sink_name)
        m_question.reset(::pa_context_get_sink_info_by_name(
            m_connection.context(), info->default_sink_name,
            [](pa_context*, const pa_sink_info* sink, int end, void* self) {
                callFromPulse([=] { static_cast<PulseDefaultMonitor*>(self)->sinkAnswered(sink, end); });
            },
            this));
    if (!m_question)
        finish();
}

/// Called with the sink, if it is still there, and once more at the end.
void PulseDefaultMonitor::sinkAnswered(const pa_sink_info* info, int end) {
    if (end == 0) {
        if (info->monitor_source_name)
            m_name = info->monitor_source_name;
        return;
    }
    m_question.reset();
    finish();
}

void PulseDefaultMonitor::finish() {
    m_found(m_name);
    if (std::exchange(m_lookAgain, false))
        look();
}

} // namespace fenlo
