#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace fenlo {

/// In-process notifications by name ("FenloHotkeyChanged"), with an optional string as their object.
///
/// Threads: main thread only. Observers are called at once, in the order they came.
class NotificationCenter {
public:
    using Object = std::optional<std::string>;
    using Handler = std::function<void(const Object&)>;

    /// An observation ends when this dies. It may outlive the centre.
    using Observation = std::shared_ptr<void>;

    NotificationCenter();

    [[nodiscard]] Observation observe(const std::string& name, Handler handler);
    void post(const std::string& name, const Object& object = {});

private:
    struct State;
    std::shared_ptr<State> m_state;
};

namespace notification {
inline constexpr char hotkeyChanged[] = "FenloHotkeyChanged"; // object: the new key name
inline constexpr char hotkeyPause[] = "FenloHotkeyPause";
inline constexpr char hotkeyResume[] = "FenloHotkeyResume";
inline constexpr char userDidSignOut[] = "FenloUserDidSignOut";
inline constexpr char userWantsSignIn[] = "FenloUserWantsSignIn"; // who goes without an account until now
inline constexpr char accountChanged[] = "FenloAccountChanged";   // somebody signed in, or gave an address
inline constexpr char micModeChanged[] = "FenloMicModeChanged";
inline constexpr char statisticsChanged[] = "FenloStatisticsChanged"; // after a session was recorded or taken out
inline constexpr char inputDeviceChanged[] = "FenloInputDeviceChanged";
} // namespace notification

} // namespace fenlo
