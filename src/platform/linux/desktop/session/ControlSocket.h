#pragma once

#include "base/Deadline.h"
#include "base/Descriptor.h"
#include "platform/linux/desktop/Wakeup.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <thread>

namespace fenlo {

/// The socket at which the running program takes orders: a line in, a line out. It needs neither a session bus nor a
/// display.
///
/// Orders are taken in the order in which their lines arrive, so that a press and its release stay apart even when two
/// processes bring them. Only processes of the same user are heard; one that says nothing, or too much, is sent away
/// and holds up nobody.
///
/// Threads: made and ended on one thread; `onLine` is called on the socket's own and must not block.
/// Errors:  a socket that cannot be opened is logged, and there is none then.
class ControlSocket {
public:
    static constexpr double patience = 2.0;         // seconds in which a client has to say its line
    static constexpr std::size_t longestLine = 64;  // bytes
    static constexpr std::size_t mostClients = 16;  // that have not said their line yet; the longest silent one goes
    static constexpr std::size_t mostAnswers = 64;  // outstanding; who comes then is sent away
    static constexpr std::size_t mostWaiting = 128; // to be let in

    /// To be called once, on any thread, also after the socket is gone. Without a call the client is hung up on.
    using Answer = std::function<void(const std::string& line)>;
    using LineHandler = std::function<void(const std::string& line, Answer answer)>;

    /// To be called by the one running instance: it replaces the socket of a process that ended.
    static std::unique_ptr<ControlSocket> open(const std::filesystem::path& file, LineHandler onLine);
    ~ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

private:
    struct Client {
        std::shared_ptr<const Descriptor> socket;
        Deadline until;
        std::string said;
    };
    using Clients = std::list<Client>; // in the order in which they came

    ControlSocket(std::filesystem::path file, int listening, LineHandler onLine);
    void run(std::stop_token stop);
    void watch(int descriptor) const;
    void admit();
    void hear();
    void forget(const Client& client) const;
    /// Whether the client has said all, or is gone.
    bool isDone(Client& client);
    void ask(const Client& client, const std::string& line);
    double secondsLeft() const;

    const std::filesystem::path m_file;
    const Descriptor m_listening;
    const Descriptor m_ready; // readable when the socket or a client is
    const LineHandler m_onLine;
    const std::shared_ptr<std::atomic<std::size_t>> m_answers = std::make_shared<std::atomic<std::size_t>>(0);
    Clients m_clients; // the thread's
    Wakeup m_wakeup;
    std::jthread m_thread;
};

} // namespace fenlo
