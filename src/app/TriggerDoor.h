#pragma once

#include "base/Lifetime.h"
#include "platform/Trigger.h"
#include "platform/linux/desktop/keys/ShortcutEdges.h"
#include "platform/linux/desktop/session/ControlSocket.h"

#include <filesystem>
#include <memory>
#include <string>

namespace fenlo {

class KeyEvents;
class MainQueue;

/// Takes the orders of `fenlo trigger`: each is a word, which becomes a trigger of the keyboard. The answer is "ok", or
/// "error" with a line for people.
///
/// Threads: main thread.
class TriggerDoor {
public:
    TriggerDoor(KeyEvents& keys, MainQueue& mainQueue, const std::filesystem::path& controlFile);

private:
    void hear(const std::string& word, ControlSocket::Answer answer);
    std::string carryOut(Trigger trigger);
    TriggerOutcome press();

    KeyEvents& m_keys;
    MainQueue& m_mainQueue;
    ShortcutEdges m_edges;
    Lifetime m_lifetime;
    std::unique_ptr<ControlSocket> m_socket; // last: its thread uses the others
};

} // namespace fenlo
