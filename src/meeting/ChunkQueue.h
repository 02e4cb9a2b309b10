#pragma once

#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "meeting/Meeting.h"

#include <cstddef>
#include <functional>
#include <list>
#include <optional>
#include <stop_token>
#include <string>

namespace fenlo {

class Background;
class Clock;

/// The chunks of all meetings on their way to their words: a few at a time, in order. One that fails is tried again,
/// later and later; while the service answers nothing at all, one chunk at a time tries whether it does again, and
/// when it does all the others follow in order.
///
/// Threads: main thread; attempts are made on workers.
class ChunkQueue {
public:
    struct Attempt {
        enum class Kind {
            heard,   // a segment, or the knowledge that there is none
            failed,  // to be tried again
            stopped, // the program ends
        };
        Kind kind = Kind::heard;
        std::optional<TranscriptSegment> segment = {};
        std::string fault = {}; // why it failed, one short line
    };
    enum class Urgency {
        now,   // of a meeting that the user looks at
        later, // of one that was taken up again
    };

    struct Job {
        const void* owner = nullptr; // for withdraw()
        Urgency urgency = Urgency::now;
        std::function<Attempt(std::stop_token)> attempt; // on a worker; must not throw
        /// Called once, on the main thread: with what was heard, or with the last failure.
        std::function<void(Attempt)> done;
    };

    struct Services {
        Clock& clock;
        MainQueue& mainQueue;
        Background& background;
        std::function<std::size_t()> atOnce; // how many attempts may be under way
        std::function<std::string()> delay;  // why none may begin yet, one line; empty when they may
    };

    explicit ChunkQueue(Services services) : m_services(std::move(services)) {}

    void add(Job job);
    /// Tries no chunk of the owner again: those that are not under way are dropped without a call of `done`. How many
    /// they were.
    std::size_t withdraw(const void* owner);

    /// Why nothing gets through at present, one line; empty while the service answers.
    const std::string& trouble() const { return m_trouble; }
    /// When trouble() has changed.
    std::function<void()> onTrouble = [] {};

private:
    struct Entry {
        Job job;
        bool isUnderWay = false;
        bool isWithdrawn = false; // while it was under way
        int attempts = 0;         // that failed
        int refusals = 0;         // those of them at which the service answered others
        double notBefore = 0;     // seconds of Clock::now(), as the next
        double firstFailure = 0;
    };
    using Entries = std::list<Entry>;

    bool isDown() const;
    bool isDue(const Entry& entry) const;
    Entries::iterator next();
    void start(Entries::iterator place);
    void finish(Entries::iterator place, Attempt attempt);
    void noteFailure(Entry& entry, const std::string& fault);
    void noteAnswer();
    bool isHopeless(const Entry& entry) const;
    void pump();
    void wakeLater();
    void setTrouble(const std::string& line);

    Services m_services;
    Entries m_entries; // urgent ones first, each kind in the order it came
    std::size_t m_underWay = 0;
    int m_failuresInRow = 0;
    double m_probeAt = 0; // seconds of Clock::now(); while the service is down
    std::string m_trouble;
    bool m_isDelayed = false;
    Timer m_wake;
    Lifetime m_lifetime;
};

} // namespace fenlo
