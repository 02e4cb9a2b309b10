#include "meeting/ChunkQueue.h"

#include "base/Background.h"
#include "base/Clock.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace fenlo {

namespace {

constexpr int failuresOfOutage = 3; // in a row, after which the service counts as down
constexpr int mostRefusals = 5;
constexpr double leastPatience = 120.0; // seconds, like all times here
constexpr double firstDelay = 2.0;
constexpr double firstProbe = 5.0;
constexpr double longestDelay = 60.0;
constexpr double delayLook = 1.0;

double doubled(double first, int times) {
    return std::min(longestDelay, std::ldexp(first, std::min(times, 10)));
}

} // namespace

void ChunkQueue::add(Job job) {
    const auto isLater = [](const Entry& entry) { return entry.job.urgency == Urgency::later; };
    const auto place = job.urgency == Urgency::now ? std::ranges::find_if(m_entries, isLater) : m_entries.end();
    m_entries.insert(place, Entry{std::move(job)});
    pump();
}

std::size_t ChunkQueue::withdraw(const void* owner) {
    for (Entry& entry : m_entries)
        entry.isWithdrawn = entry.isWithdrawn || entry.job.owner == owner;
    return m_entries.remove_if([](const Entry& entry) { return entry.isWithdrawn && !entry.isUnderWay; });
}

bool ChunkQueue::isDown() const {
    return m_failuresInRow >= failuresOfOutage;
}

bool ChunkQueue::isDue(const Entry& entry) const {
    return !entry.isUnderWay && entry.notBefore <= m_services.clock.now();
}

ChunkQueue::Entries::iterator ChunkQueue::next() {
    if (!isDown())
        return std::ranges::find_if(m_entries, [this](const Entry& entry) { return isDue(entry); });
    if (m_probeAt > m_services.clock.now())
        return m_entries.end();
    // A chunk that no service takes must not be the only one that asks.
    auto best = m_entries.end();
    for (auto place = m_entries.begin(); place != m_entries.end(); ++place)
        if (!place->isUnderWay && (best == m_entries.end() || place->attempts < best->attempts))
            best = place;
    return best;
}

void ChunkQueue::pump() {
    m_wake.cancel();
    if (m_entries.size() == m_underWay)
        return;
    if (const std::string delay = m_services.delay(); !delay.empty()) {
        m_isDelayed = true;
        setTrouble(delay);
        m_wake = m_services.mainQueue.postAfter(delayLook, [this] { pump(); });
        return;
    }
    if (std::exchange(m_isDelayed, false))
        setTrouble({});
    const std::size_t most = isDown() ? 1 : m_services.atOnce();
    while (m_underWay < most) {
        const auto place = next();
        if (place == m_entries.end()) {
            wakeLater();
            return;
        }
        start(place);
    }
}

void ChunkQueue::wakeLater() {
    std::optional<double> earliest;
    for (const Entry& entry : m_entries)
        if (!entry.isUnderWay)
            earliest = std::min(earliest.value_or(entry.notBefore), entry.notBefore);
    if (!earliest)
        return;
    const double at = isDown() ? m_probeAt : *earliest;
    m_wake = m_services.mainQueue.postAfter(std::max(at - m_services.clock.now(), 0.0), [this] { pump(); });
}

void ChunkQueue::start(Entries::iterator place) {
    place->isUnderWay = true;
    ++m_underWay;
    m_services.background.run([attempt = place->job.attempt, &queue = m_services.mainQueue,
                               finish = m_lifetime.bind([this, place](Attempt result) {
                                   this->finish(place, std::move(result));
                               })](std::stop_token stop) mutable {
        queue.post([finish = std::move(finish), result = attempt(stop)]() mutable { finish(std::move(result)); });
    });
}

void ChunkQueue::finish(Entries::iterator place, Attempt attempt) {
    --m_underWay;
    place->isUnderWay = false;
    if (attempt.kind == Attempt::Kind::failed)
        noteFailure(*place, attempt.fault);
    else if (attempt.kind == Attempt::Kind::heard)
        noteAnswer();
    if (attempt.kind != Attempt::Kind::failed || place->isWithdrawn || isHopeless(*place)) {
        const Job job = std::move(place->job);
        m_entries.erase(place);
        if (attempt.kind != Attempt::Kind::stopped)
            job.done(std::move(attempt));
    }
    pump();
}

void ChunkQueue::noteFailure(Entry& entry, const std::string& fault) {
    const double now = m_services.clock.now();
    if (entry.attempts == 0)
        entry.firstFailure = now;
    if (!isDown())
        ++entry.refusals;
    entry.notBefore = now + doubled(firstDelay, entry.attempts);
    ++entry.attempts;
    ++m_failuresInRow;
    if (isDown())
        m_probeAt = now + doubled(firstProbe, m_failuresInRow - failuresOfOutage);
    setTrouble(fault);
}

void ChunkQueue::noteAnswer() {
    if (isDown())
        for (Entry& entry : m_entries)
            entry.notBefore = 0;
    m_failuresInRow = 0;
    setTrouble({});
}

/// Only a service that answers others shows that it is the chunk, and not the service.
bool ChunkQueue::isHopeless(const Entry& entry) const {
    return entry.refusals >= mostRefusals && m_services.clock.now() - entry.firstFailure >= leastPatience;
}

void ChunkQueue::setTrouble(const std::string& line) {
    if (std::exchange(m_trouble, line) != line)
        onTrouble();
}

} // namespace fenlo
