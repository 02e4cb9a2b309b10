#pragma once

#include "support/HubFiles.h"
#include "support/LoopbackServer.h"

#include <functional>

namespace fenlo::test {

/// A stand-in for the model hub: serves the folders "publisher/name" of a folder as repositories. As on the hub, a
/// large file redirects to a signed address on another host, a small one to a relative address. A folder
/// "publisher/name@revision" is the repository at another revision than "main", with "+" for a slash in its name.
///
/// Threads: any.
class LoopbackHub {
public:
    /// What goes wrong with the next requests. The modes:
    ///   status     answers with `status` (and `retryAfter`)
    ///   garbage    a page for people instead of JSON, in listings
    ///   endless    a body without an end
    ///   size, hash lists another size or hash than the file's, in listings
    ///   drop       ends the connection in the middle of the body
    ///   stall      sends nothing more
    ///   trickle    sends the rest byte by byte, with pauses
    ///   content    other bytes of the same size
    ///   tag        the file with another ETag, as after a change
    ///   weak       the file with a weak ETag
    ///   range      another part of the file than was asked for
    ///   no-ranges  always the whole file
    struct Fault {
        std::string mode;
        bool inListing = false;
        std::uint64_t after = 0; // bytes of the body that come before a drop, a stall or a trickle
        int times = 1;           // requests that it hits
        int status = 500;
        std::string retryAfter = {};
    };

    struct Received {
        WireRequest wire;
        bool atStorage = false;
        std::uint64_t sent = 0; // bytes of the body, those on their way included
    };

    explicit LoopbackHub(std::filesystem::path folder);

    void hit(Fault fault); // replaces an earlier one
    void goOn();           // no faults any more, and what has stalled goes on; once
    /// Runs once, before a file is looked up: what somebody does to the repository after it was listed.
    void beforeFile(std::string path, std::function<void()> change);
    void setToken(std::string token);
    void setPageSize(std::size_t size);
    void setListing(std::string body); // instead of the true one; empty for the true one

    std::vector<Received> requests() const;
    const LoopbackServer& server() const { return m_server; }
    const LoopbackServer& storage() const { return m_storage; }

private:
    struct State {
        Fault fault{"", false, 0, 0, 0, ""};
        std::string token;
        std::string listing;
        std::string changePath; // "" for none
        std::function<void()> change;
        std::size_t pageSize = 1000;
        std::vector<Received> requests;
    };

    WireAnswer answer(const WireRequest& request);
    WireAnswer answerAsStorage(const WireRequest& request);
    WireAnswer list(const WireRequest& request, const std::string& repo, const std::string& subfolder);
    WireAnswer resolve(const std::string& repo, const std::string& path);
    WireAnswer send(const WireRequest& request, const std::string& target, std::size_t number);
    std::size_t note(const WireRequest& request, bool atStorage);
    Fault takeFault(bool inListing);

    const std::filesystem::path m_folder;
    Guarded<State> m_state;
    std::stop_source m_goingOn;
    LoopbackServer m_storage; // last, as m_server: their threads use the rest
    LoopbackServer m_server;
};

} // namespace fenlo::test
