#include "platform/linux/audio/PulseSources.h"

#include "base/Text.h"

#include <algorithm>
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

/// Not every server tells the bus, but the names of devices begin with it.
bool isOn(const pa_source_info& info, std::string_view bus, std::string_view beginning) {
    const char* property = ::pa_proplist_gets(info.proplist, PA_PROP_DEVICE_BUS);
    return (property && property == bus) || std::string_view(info.name).starts_with(beginning);
}

PulseSource describe(const pa_source_info& info) {
    PulseSource source;
    source.name = info.name;
    const bool isWireless = isOn(info, "bluetooth", "bluez_");
    // Sources without a bus (monitors, remapped and combined ones) live in this machine too.
    const bool isBuiltIn = !isWireless && !isOn(info, "usb", "alsa_input.usb-");
    source.device = {idOf(source.name),
                     text::repairUtf8(info.description ? info.description : info.name),
                     isBuiltIn,
                     isWireless,
                     text::repairUtf8(source.name),
                     info.monitor_of_sink != PA_INVALID_INDEX};
    source.format = {PA_SAMPLE_FLOAT32NE, info.sample_spec.rate, info.sample_spec.channels};
    source.channels = info.channel_map;
    return source;
}

bool isSame(const PulseSource& a, const PulseSource& b) {
    return a.name == b.name && a.device.name == b.device.name && a.device.isBuiltIn == b.device.isBuiltIn &&
           a.device.isWireless == b.device.isWireless && ::pa_sample_spec_equal(&a.format, &b.format) &&
           ::pa_channel_map_equal(&a.channels, &b.channels);
}

std::optional<PulseSource> namedOf(const std::vector<PulseSource>& sources, const std::string& name) {
    const auto found = std::ranges::find(sources, name, &PulseSource::name);
    return found == sources.end() ? std::nullopt : std::optional(*found);
}

/// Servers name a monitor where there is nothing else; then there is no microphone.
std::optional<PulseSource> microphoneOf(const std::vector<PulseSource>& sources, const std::string& defaultName) {
    const auto isMonitor = [](const PulseSource& source) { return source.device.isMonitor; };
    if (auto source = namedOf(sources, defaultName); source && !isMonitor(*source))
        return source;
    const auto found = std::ranges::find_if_not(sources, isMonitor);
    return found == sources.end() ? std::nullopt : std::optional(*found);
}

bool isSame(const std::optional<PulseSource>& a, const std::optional<PulseSource>& b) {
    return a && b ? isSame(*a, *b) : !a && !b;
}

bool isSame(const std::vector<PulseSource>& a, const std::vector<PulseSource>& b) {
    return std::ranges::equal(a, b, [](const PulseSource& x, const PulseSource& y) { return isSame(x, y); });
}

} // namespace

PulseSources::PulseSources(PulseConnection& connection, std::function<void(Change)> changed)
    : m_connection(connection), m_changed(std::move(changed)) {
    PulseLock lock(m_connection);
    m_subscription = m_connection.subscribe({[this] { connected(); }, [this] { disconnected(); }});
    if (m_connection.context())
        connected();
}

PulseSources::~PulseSources() {
    PulseLock lock(m_connection);
    m_subscription.reset();
    m_operation.reset();
    if (pa_context* context = m_connection.context())
        ::pa_context_set_subscribe_callback(context, nullptr, nullptr);
}

std::optional<PulseSource> KnownSources::current() const {
    return m_known->with([](const Known& known) { return microphoneOf(known.sources, known.defaultName); });
}

std::vector<PulseSource> KnownSources::all() const {
    return m_known->with([](const Known& known) { return known.sources; });
}

std::optional<PulseSource> KnownSources::named(const std::string& name) const {
    return m_known->with([&](const Known& known) { return namedOf(known.sources, name); });
}

void PulseSources::awaitFirstAnswer(double seconds) {
    PulseLock lock(m_connection);
    m_connection.waitFor([this] { return m_hasAnswer || m_connection.hasFailed(); }, seconds);
}

void PulseSources::connected() {
    pa_context* const context = m_connection.context();
    ::pa_context_set_subscribe_callback(
        context,
        [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* self) {
            callFromPulse([self] { static_cast<PulseSources*>(self)->refresh(); });
        },
        this);
    constexpr auto interest =
        static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SOURCE);
    if (pa_operation* operation = ::pa_context_subscribe(context, interest, nullptr, nullptr))
        ::pa_operation_unref(operation);
    refresh();
}

void PulseSources::disconnected() {
    m_operation.reset();
    m_refreshAgain = false;
    m_found = {};
    finish();
}

/// Events come in bursts: while one question is under way, a single further one covers all of them.
void PulseSources::refresh() {
    if (m_operation) {
        m_refreshAgain = true;
        return;
    }
    m_operation.reset(::pa_context_get_server_info(
        m_connection.context(),
        [](pa_context*, const pa_server_info* info, void* self) {
            callFromPulse([=] { static_cast<PulseSources*>(self)->serverAnswered(info); });
        },
        this));
}

void PulseSources::serverAnswered(const pa_server_info* info) {
    m_operation.reset();
    m_found = {};
    if (info && info->default_source_name)
        m_found.defaultName = info->default_source_name;
    if (info)
        m_operation.reset(::pa_context_get_source_info_list(
            m_connection.context(),
            [](pa_context*, const pa_source_info* source, int end, void* self) {
                callFromPulse([=] { static_cast<PulseSources*>(self)->sourceAnswered(source, end); });
            },
            this));
    if (!m_operation)
        finish();
}

/// Called once with each source and once more at the end of the list.
void PulseSources::sourceAnswered(const pa_source_info* info, int end) {
    if (end == 0) {
        m_found.sources.push_back(describe(*info));
        return;
    }
    m_operation.reset();
    finish();
}

void PulseSources::finish() {
    m_hasAnswer = true;
    const auto [isNewDefault, isNewList] = m_known.m_known->with([&](KnownSources::Known& known) {
        const bool isOther =
            !isSame(microphoneOf(known.sources, known.defaultName), microphoneOf(m_found.sources, m_found.defaultName));
        const bool hasOthers = !isSame(known.sources, m_found.sources);
        known = std::exchange(m_found, {});
        return std::pair(isOther, hasOthers);
    });
    if (isNewDefault)
        m_changed(Change::defaultSource);
    else if (isNewList)
        m_changed(Change::list);
    m_connection.signal();
    if (std::exchange(m_refreshAgain, false))
        refresh();
}

} // namespace fenlo
