#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

struct wl_output;

namespace fenlo {

class WaylandConnection;

/// The screens and their whole scales.
///
/// Threads: that of the connection.
class Outputs {
public:
    /// `onChange` is called when a screen has come or changed.
    Outputs(WaylandConnection& connection, std::function<void()> onChange);
    ~Outputs();
    Outputs(const Outputs&) = delete;
    Outputs& operator=(const Outputs&) = delete;

    bool isEmpty() const { return m_outputs.empty(); }
    /// Of this screen; 1 when it is gone.
    int scaleOf(const wl_output* output) const;
    int highestScale() const;
    std::vector<wl_output*> all() const;

private:
    struct Output {
        Outputs* owner;
        wl_output* output = nullptr;
        int scale = 1;
    };
    void add(std::uint32_t name, std::uint32_t version);
    void remove(std::uint32_t name);
    static void destroy(const Output& output);

    WaylandConnection& m_connection;
    const std::function<void()> m_onChange;
    std::map<std::uint32_t, Output> m_outputs;
    std::shared_ptr<void> m_watch;
};

} // namespace fenlo
