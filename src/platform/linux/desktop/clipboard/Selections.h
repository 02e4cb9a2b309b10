#pragma once

#include "platform/Pasteboard.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace fenlo {

/// The selections of a windowing system, which programs offer and ask each other for. During every wait, other
/// programs' questions are answered.
///
/// Threads: one; made on any.
class Selections {
public:
    using Clock = std::chrono::steady_clock;

    enum class Name { clipboard, primary };

    enum class Stay {
        lasting,
        onLoan, // asks clipboard managers to keep it out of their history
    };

    /// What is newer than the moment of a request stays.
    using Moment = std::uint32_t;

    /// What a selection held, as far as its owner has told so far.
    class Saved {
    public:
        virtual ~Saved() = default;
        virtual bool wasEmpty() const = 0;
        /// Whether all answers have arrived.
        virtual bool isSettled() const = 0;
    };

    virtual ~Selections() = default;

    /// Can be read from when something has arrived.
    virtual int descriptor() const = 0;
    virtual bool isLost() const = 0;
    virtual void handleArrived() = 0;
    virtual void flush() = 0;

    /// Now. When it returns, the news of earlier owners has arrived.
    virtual Moment now() = 0;

    virtual void offer(Name name, const std::string& text, Stay stay, Moment moment) = 0;
    /// Offers what was saved, lasting. False, and nothing is done, when its owner has told nothing.
    virtual bool offerAgain(Name name, const Saved& saved, Moment moment) = 0;
    /// Empties the selection, whoever owns it.
    virtual void clear(Name name, Moment moment) = 0;

    /// Whether the selection is ours, as far as the system has told.
    virtual bool owns(Name name) const = 0;
    virtual bool lends(Name name) const = 0;

    /// The text on the clipboard.
    virtual Pasteboard::Reading read(Clock::time_point deadline) = 0;
    /// Asks for one form after the other until the deadline, so as not to flood the owner; then for the usual ones all
    /// at once, whose answers may come later. 64 MiB at most.
    virtual std::shared_ptr<const Saved> save(Name name, Clock::time_point deadline) = 0;

    /// Drops transfers whose reader has gone. Returns whether others are still under way.
    virtual bool dropStalled(Clock::time_point now) = 0;
    /// Hands a clipboard that is not on loan to whoever keeps it beyond the program's end.
    virtual void handOver(Clock::time_point deadline) = 0;
};

} // namespace fenlo
