#include "audio/TakeBuffer.h"

#include "audio/ChunkWriter.h"
#include "audio/RunningCopy.h"
#include "audio/TakeChunks.h"
#include "base/Files.h"
#include "base/Log.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace fenlo {

namespace {

constexpr double preRollDuration = 0.3; // seconds
constexpr double spareDuration = 10.0;  // room for what a cut carries over
constexpr double pieceDuration = 30.0;  // pieces are shorter, as long as they are asked for in time

/// Memory that is not touched costs nothing.
std::vector<float> roomFor(double seconds, double sampleRate) {
    std::vector<float> samples;
    samples.reserve(static_cast<std::size_t>(sampleRate * seconds));
    return samples;
}

/// Grows the buffer when fewer samples than `least` fit behind its own; by half, so that it does so rarely.
void makeRoom(std::vector<float>& samples, std::size_t least) {
    if (samples.capacity() - samples.size() < least)
        samples.reserve(samples.capacity() + std::max(samples.capacity() / 2, least));
}

} // namespace

TakeBuffer::TakeBuffer() : m_writer([this](const std::stop_token& stop) { writeUntilStopped(stop); }) {
    setSampleRate(m_sampleRate);
}

TakeBuffer::~TakeBuffer() = default;

void TakeBuffer::setSampleRate(double hertz) {
    std::lock_guard lock(m_mutex);
    setRate(hertz);
}

void TakeBuffer::setRate(double hertz) {
    m_sampleRate = hertz;
    m_chunkLimit = static_cast<std::size_t>(hertz * chunkDuration);
    m_preRollLimit = static_cast<std::size_t>(hertz * preRollDuration);
    m_preRoll.clear();
    m_preRoll.reserve(2 * m_preRollLimit);
}

void TakeBuffer::setOnFiles(FilesHandler handler) {
    std::unique_lock lock(m_mutex);
    m_workChanged.wait(lock, [this] { return isIdle(); });
    m_onFiles = std::move(handler);
}

void TakeBuffer::begin(TakeKind kind) {
    const bool isWhole = kind == TakeKind::whole;
    std::vector<float> samples = roomFor(isWhole ? chunkDuration + spareDuration : pieceDuration, m_sampleRate);
    std::vector<float> spare = roomFor(isWhole ? chunkDuration + spareDuration : 0, m_sampleRate);
    std::vector<std::filesystem::path> chunkFiles;
    std::unique_lock lock(m_mutex);
    m_workChanged.wait(lock, [this] { return isIdle(); });
    m_current.swap(samples);
    m_spare.swap(spare);
    m_chunkFiles.swap(chunkFiles);
    m_copy = std::make_unique<RunningCopy>(m_sampleRate);
    m_copied = 0;
    m_didPrependPreRoll = false;
    m_kind = kind;
    m_isRecording = true;
    m_deviceChanged = false;
}

TakeBuffer::Place TakeBuffer::append(std::span<const float> samples) {
    std::lock_guard lock(m_mutex);
    if (!m_isRecording) {
        rollOn(samples);
        return Place::beforeTake;
    }
    const bool isFirst = !std::exchange(m_didPrependPreRoll, true);
    if (isFirst) {
        m_current.insert(m_current.begin(), m_preRoll.begin(), m_preRoll.end());
        m_preRoll.clear();
    }
    m_current.insert(m_current.end(), samples.begin(), samples.end());
    if (m_kind == TakeKind::inPieces)
        return Place::inPieces;
    if (!m_isFlushing && m_current.size() >= m_chunkLimit) {
        m_flushing.swap(m_current);
        m_current.swap(m_spare);
        m_isFlushing = true;
        m_workChanged.notify_all();
    } else if (isIdle() && m_current.size() - m_copied >= second()) {
        m_isCopying = true;
        m_workChanged.notify_all();
    }
    return isFirst ? Place::firstOfTake : Place::inTake;
}

void TakeBuffer::rollOn(std::span<const float> samples) {
    m_preRoll.insert(m_preRoll.end(), samples.begin(), samples.end());
    if (m_preRoll.size() > m_preRollLimit)
        m_preRoll.erase(m_preRoll.begin(), m_preRoll.end() - static_cast<std::ptrdiff_t>(m_preRollLimit));
}

TakeBuffer::Taken TakeBuffer::end() {
    Taken taken;
    std::vector<float> spare; // freed without the lock
    std::unique_lock lock(m_mutex);
    m_workChanged.wait(lock, [this] { return isIdle(); });
    m_isRecording = false;
    m_preRoll.clear();
    m_didPrependPreRoll = false;
    taken.samples.swap(m_current);
    spare.swap(m_spare);
    taken.chunkFiles.swap(m_chunkFiles);
    if (const auto copy = std::exchange(m_copy, nullptr))
        taken.runningCopy = copy->file();
    taken.deviceChanged = std::exchange(m_deviceChanged, false);
    return taken;
}

TakenSamples TakeBuffer::takeSamples() {
    std::vector<float> samples = roomFor(pieceDuration, m_sampleRate);
    std::lock_guard lock(m_mutex);
    if (!m_isRecording || m_kind == TakeKind::whole)
        return {{}, m_sampleRate};
    m_current.swap(samples);
    return {std::move(samples), m_sampleRate};
}

std::optional<TakeBuffer::Part> TakeBuffer::partFrom(std::size_t chunk, std::size_t from) const {
    Part part;
    part.samples.reserve(second()); // no memory is asked for while the audio thread may wait
    std::lock_guard lock(m_mutex);
    if (!m_isRecording || m_kind != TakeKind::whole || m_isFlushing)
        return std::nullopt;
    part.chunk = m_chunkFiles.size();
    part.from = part.chunk == chunk ? std::min(from, m_current.size()) : 0;
    part.sampleRate = m_sampleRate;
    const std::size_t count = std::min(m_current.size() - part.from, second());
    const auto begin = m_current.begin() + static_cast<std::ptrdiff_t>(part.from);
    part.samples.assign(begin, begin + static_cast<std::ptrdiff_t>(count));
    return part;
}

std::vector<std::filesystem::path> TakeBuffer::chunkFiles() const {
    std::lock_guard lock(m_mutex);
    return m_chunkFiles;
}

void TakeBuffer::changeSampleRate(double hertz) {
    const auto [samples, before] = takeSamples();
    const std::vector<float> changed = resampleLinearly(samples, before, hertz);
    std::lock_guard lock(m_mutex);
    setRate(hertz);
    m_current.insert(m_current.begin(), changed.begin(), changed.end());
}

void TakeBuffer::forgetPreRoll() {
    std::lock_guard lock(m_mutex);
    m_preRoll.clear();
}

bool TakeBuffer::markDeviceChanged() {
    std::lock_guard lock(m_mutex);
    m_deviceChanged = m_deviceChanged || m_isRecording;
    return m_isRecording;
}

bool TakeBuffer::isRecording() const {
    std::lock_guard lock(m_mutex);
    return m_isRecording;
}

/// In samples.
std::size_t TakeBuffer::second() const {
    return static_cast<std::size_t>(m_sampleRate);
}

void TakeBuffer::writeUntilStopped(const std::stop_token& stop) {
    std::unique_lock lock(m_mutex);
    while (m_workChanged.wait(lock, stop, [this] { return !isIdle(); })) {
        if (m_isFlushing) {
            flush(lock);
            m_isFlushing = false;
        } else {
            copy(lock);
        }
        m_isCopying = false;
        m_workChanged.notify_all();
    }
}

bool TakeBuffer::isIdle() const {
    return !m_isFlushing && !m_isCopying;
}

void TakeBuffer::copy(std::unique_lock<std::mutex>& lock) {
    const std::size_t count = (m_current.size() - m_copied) / second() * second();
    const auto begin = m_current.begin() + static_cast<std::ptrdiff_t>(m_copied);
    m_piece.assign(begin, begin + static_cast<std::ptrdiff_t>(count));
    m_copied += count;
    std::vector<std::filesystem::path> files = m_chunkFiles;
    lock.unlock();

    const auto before = m_copy->file();
    m_copy->append(m_piece);
    if (const auto file = m_copy->file(); file != before) {
        if (file)
            files.push_back(*file);
        tellFiles(files);
    }
    lock.lock();
}

void TakeBuffer::tellFiles(const std::vector<std::filesystem::path>& files) const {
    if (m_onFiles)
        m_onFiles(files);
}

void TakeBuffer::flush(std::unique_lock<std::mutex>& lock) {
    const double sampleRate = m_sampleRate;
    std::vector<std::filesystem::path> files = m_chunkFiles;
    const std::size_t number = files.size() + 1;
    lock.unlock();

    const auto chunk = cutChunk(m_flushing, sampleRate);
    if (chunk) {
        files.push_back(chunk->file);
        tellFiles(files);
        if (const auto copy = m_copy->file())
            files::removeQuietly(*copy);
        m_copy = std::make_unique<RunningCopy>(sampleRate);
        m_flushing.erase(m_flushing.begin(), m_flushing.begin() + static_cast<std::ptrdiff_t>(chunk->length));
        logInfo("Flushed chunk {} → {}KB WAV ({} samples carried over)", number, files::kilobytes(chunk->file),
                m_flushing.size());
    } else {
        logError("Failed to write chunk {}", number);
    }
    makeRoom(m_flushing, static_cast<std::size_t>(sampleRate * spareDuration));

    lock.lock();
    if (chunk) {
        m_chunkFiles = std::move(files);
        m_copied = 0;
    }
    // What was recorded meanwhile follows the rest. Its buffer is empty then, and takes over at the next cut.
    m_flushing.insert(m_flushing.end(), m_current.begin(), m_current.end());
    m_current.clear();
    m_current.swap(m_flushing);
    m_spare.swap(m_flushing);
}

} // namespace fenlo
