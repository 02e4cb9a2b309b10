#include "platform/linux/audio/PulseDefaultSource.h"

#include "base/Text.h"

#include <pulse/operation.h>
#include <pulse/proplist.h>
#include <pulse/subscribe.h>
#include <string_view>
#include <utility>

namespace fenlo {

namespace {

/// The server numbers its sources anew each time it starts; the name stays.
std::uint32_t idOf(std::string_view name) {
    std::uint32_t hash = 2166136261U; // FNV-1a
    for (const char character : name)
        hash = (hash ^ static_cast<unsigned char>(character)) * 16777619U;
    return hash == 0 ? 1 : hash;
}

/// Sources without a bus (monitors, remapped and combined ones) live in this machine too. Not every server tells the
/// bus, but the names of devices begin with it.
bool isBuiltIn(const pa_source_info& info) {
    const char* property = ::pa_proplist_gets(info.proplist, PA_PROP_DEVICE_BUS);
    const std::string_view bus = property ? property : "";
    const std::string_view name = info.name;
    return bus != "usb" && bus != "bluetooth" && !name.starts_with("alsa_input.usb-") && !name.starts_with("bluez_");
}

PulseSource describe(const pa_source_info& info) {
    PulseSource source;
    source.name = info.name;
    source.device = {idOf(source.name), text::repairUtf8(info.description ? info.description : info.name),
                     isBuiltIn(info)};
    source.format = {PA_SAMPLE_FLOAT32NE, info.sample_spec.rate, info.sample_spec.channels};
    source.channels = info.channel_map;
    return source;
}

bool isSame(const std::optional<PulseSource>& a, const std::optional<PulseSource>& b) {
    if (!a || !b)
        return !a && !b;
    return a->name == b->name && a->device.name == b->device.name && a->device.isBuiltIn == b->device.isBuiltIn &&
           ::pa_sample_spec_equal(&a->format, &b->format) && ::pa_channel_map_equal(&a->channels, &b->channels);
}

} // namespace

PulseDefaultSource::PulseDefaultSource(PulseConnection& connection, std::function<void()> changed)
    : m_connection(connection), m_changed(std::move(changed)) {
    PulseLock lock(m_connection);
    m_subscription = m_connection.subscribe({[this] { connected(); }, [this] { disconnected(); }});
    if (m_connection.context())
        connected();
}

PulseDefaultSource::~PulseDefaultSource() {
    PulseLock lock(m_connection);
    m_subscription.reset();
    endOperation();
    if (pa_context* context = m_connection.context())
        ::pa_context_set_subscribe_callback(context, nullptr, nullptr);
}

std::optional<PulseSource> PulseDefaultSource::current() const {
    return m_current.with([](const auto& source) { return source; });
}

void PulseDefaultSource::awaitFirstAnswer(double seconds) {
    PulseLock lock(m_connection);
    m_connection.waitFor([this] { return m_hasAnswer || m_connection.hasFailed(); }, seconds);
}

void PulseDefaultSource::connected() {
    pa_context* const context = m_connection.context();
    ::pa_context_set_subscribe_callback(
        context,
        [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* self) {
            callFromPulse([self] { static_cast<PulseDefaultSource*>(self)->refresh(); });
        },
        this);
    constexpr auto interest =
        static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SOURCE);
    if (pa_operation* operation = ::pa_context_subscribe(context, interest, nullptr, nullptr))
        ::pa_operation_unref(operation);
    refresh();
}

void PulseDefaultSource::disconnected() {
    endOperation();
    m_refreshAgain = false;
    finish({});
}

/// Events come in bursts: while one question is under way, a single further one covers all of them.
void PulseDefaultSource::refresh() {
    if (m_operation) {
        m_refreshAgain = true;
        return;
    }
    m_operation = ::pa_context_get_server_info(
        m_connection.context(),
        [](pa_context*, const pa_server_info* info, void* self) {
            callFromPulse([=] { static_cast<PulseDefaultSource*>(self)->serverAnswered(info); });
        },
        this);
}

void PulseDefaultSource::serverAnswered(const pa_server_info* info) {
    endOperation();
    if (info && info->default_source_name && *info->default_source_name)
        m_operation = ::pa_context_get_source_info_by_name(
            m_connection.context(), info->default_source_name,
            [](pa_context*, const pa_source_info* source, int end, void* self) {
                callFromPulse([=] { static_cast<PulseDefaultSource*>(self)->sourceAnswered(source, end); });
            },
            this);
    if (!m_operation)
        finish({});
}

/// Called once with the source and once more at the end of the list.
void PulseDefaultSource::sourceAnswered(const pa_source_info* info, int end) {
    if (end == 0) {
        m_found = describe(*info);
        return;
    }
    endOperation();
    finish(std::exchange(m_found, {}));
}

void PulseDefaultSource::finish(std::optional<PulseSource> source) {
    m_hasAnswer = true;
    const bool isNew = m_current.with([&](auto& current) {
        if (isSame(current, source))
            return false;
        current = std::move(source);
        return true;
    });
    if (isNew)
        m_changed();
    m_connection.signal();
    if (std::exchange(m_refreshAgain, false))
        refresh();
}

void PulseDefaultSource::endOperation() {
    if (pa_operation* operation = std::exchange(m_operation, nullptr)) {
        ::pa_operation_cancel(operation);
        ::pa_operation_unref(operation);
    }
}

} // namespace fenlo
