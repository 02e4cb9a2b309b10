#include "platform/linux/wayland/overlay/Outputs.h"

#include "platform/linux/wayland/WaylandConnection.h"

#include <algorithm>

namespace fenlo {

namespace {

constexpr std::uint32_t outputVersion = 3; // has the scale, and can be given back

} // namespace

Outputs::Outputs(WaylandConnection& connection, std::function<void()> onChange)
    : m_connection(connection), m_onChange(std::move(onChange)) {
    m_watch = connection.watchGlobals(wl_output_interface.name,
                                      {[this](std::uint32_t name, std::uint32_t version) { add(name, version); },
                                       [this](std::uint32_t name) { remove(name); }});
}

Outputs::~Outputs() {
    for (const auto& [name, output] : m_outputs)
        destroy(output);
}

void Outputs::destroy(const Output& output) {
    if (wl_output_get_version(output.output) >= WL_OUTPUT_RELEASE_SINCE_VERSION)
        wl_output_release(output.output);
    else
        wl_output_destroy(output.output);
}

void Outputs::add(std::uint32_t name, std::uint32_t version) {
    static constexpr wl_output_listener listener{
        [](void*, wl_output*, int, int, int, int, int, const char*, const char*, int) {},
        [](void*, wl_output*, std::uint32_t, int, int, int) {},
        [](void* self, wl_output*) { static_cast<Output*>(self)->owner->m_onChange(); },
        [](void* self, wl_output*, int scale) { static_cast<Output*>(self)->scale = std::max(scale, 1); },
        [](void*, wl_output*, const char*) {},
        [](void*, wl_output*, const char*) {},
    };
    Output& output = m_outputs[name];
    output = {this, static_cast<wl_output*>(
                        m_connection.bindNamed(name, wl_output_interface, std::min(version, outputVersion)))};
    wl_output_add_listener(output.output, &listener, &output);
}

void Outputs::remove(std::uint32_t name) {
    const auto found = m_outputs.find(name);
    if (found == m_outputs.end())
        return;
    destroy(found->second);
    m_outputs.erase(found);
}

int Outputs::scaleOf(const wl_output* output) const {
    for (const auto& [name, known] : m_outputs)
        if (known.output == output)
            return known.scale;
    return 1;
}

int Outputs::highestScale() const {
    int highest = 1;
    for (const auto& [name, output] : m_outputs)
        highest = std::max(highest, output.scale);
    return highest;
}

std::vector<wl_output*> Outputs::all() const {
    std::vector<wl_output*> all;
    for (const auto& [name, output] : m_outputs)
        all.push_back(output.output);
    return all;
}

} // namespace fenlo
