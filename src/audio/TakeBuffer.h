#pragma once

#include <condition_variable>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stop_token>
#include <thread>
#include <vector>

namespace fenlo {

class RunningCopy;

/// How a take is handed on.
enum class TakeKind {
    whole,    // as files, at its end
    inPieces, // as samples, again and again while it runs
};

struct TakenSamples {
    std::vector<float> samples;
    double sampleRate = 0; // hertz
};

/// The samples of the running take, and the last moments before it.
///
/// A take that grows beyond four minutes is cut at a quiet spot, and what lies before the cut goes into a chunk file.
/// A thread of this class writes it, so that the audio thread never waits for a disk: it hands its buffer over whole
/// and goes on with a second one, whose memory was reserved before the take. The rest after the cut then returns to the
/// front. When the file cannot be written all samples return, and the next append() tries again. Every second the same
/// thread copies what is in memory only to a file of its own, in case of a crash.
///
/// A take in pieces writes no file, however late it is asked for its samples: each of them is handed out by
/// takeSamples() exactly once, and a take that nobody asks grows in memory.
///
/// Threads: append() on the audio thread, where it neither allocates nor waits for the disk; isRecording() on any; the
///          rest on the main thread. begin() and end() wait for a file that is being written, takeSamples() never.
/// Units:   samples at the input's own rate.
class TakeBuffer {
public:
    struct Taken {
        std::vector<float> samples;
        std::vector<std::filesystem::path> chunkFiles;
        std::optional<std::filesystem::path> runningCopy; // of the samples; the caller's to delete
        bool deviceChanged = false;
    };
    enum class Place { beforeTake, firstOfTake, inTake, inPieces };
    using FilesHandler = std::function<void(const std::vector<std::filesystem::path>& files)>;

    TakeBuffer();
    ~TakeBuffer();

    /// Call it while neither the tap nor a take runs.
    void setSampleRate(double hertz);

    /// Told which files hold the take so far, whenever they change; on the thread that writes. Set it between takes.
    void setOnFiles(FilesHandler handler);

    void begin(TakeKind kind = TakeKind::whole);
    /// Adds samples to the take or, between takes, to the moments before the next one.
    Place append(std::span<const float> samples);
    Taken end();

    /// What a whole take has behind its first `from` samples since the last cut, a second of it at most; `chunk` is how
    /// often it was cut. After a new cut it begins anew. Nothing between takes and while a cut is being made.
    struct Part {
        std::size_t chunk = 0;
        std::size_t from = 0;
        std::vector<float> samples;
        double sampleRate = 0; // hertz
    };
    std::optional<Part> partFrom(std::size_t chunk, std::size_t from) const;
    /// The chunks that were cut from the running take so far.
    std::vector<std::filesystem::path> chunkFiles() const;

    /// Moves out what has come since the last call. Nothing between takes and in a whole take.
    TakenSamples takeSamples();
    /// Goes on at another rate, to which it brings the samples that it has. In a take in pieces, while no tap runs.
    void changeSampleRate(double hertz);

    void forgetPreRoll();
    /// Notes for end() that the input device changed during the take. False without a take.
    bool markDeviceChanged();
    bool isRecording() const;

private:
    void rollOn(std::span<const float> samples);
    std::size_t second() const;
    void writeUntilStopped(const std::stop_token& stop);
    void flush(std::unique_lock<std::mutex>& lock);
    void copy(std::unique_lock<std::mutex>& lock);
    void tellFiles(const std::vector<std::filesystem::path>& files) const;
    bool isIdle() const;
    void setRate(double hertz);

    double m_sampleRate = 44100; // hertz
    std::size_t m_chunkLimit = 0;
    std::size_t m_preRollLimit = 0;

    mutable std::mutex m_mutex;
    std::condition_variable_any m_workChanged;
    std::vector<float> m_current;
    std::vector<float> m_preRoll;
    std::vector<std::filesystem::path> m_chunkFiles;
    bool m_isRecording = false;
    TakeKind m_kind = TakeKind::whole;
    bool m_didPrependPreRoll = false;
    bool m_deviceChanged = false;
    std::size_t m_copied = 0;            // of m_current
    bool m_isCopying = false;            // end() waits for it
    bool m_isFlushing = false;           // and for this
    std::vector<float> m_spare;          // empty, takes over at a cut; without memory while the writer flushes
    std::vector<float> m_flushing;       // the writer's own while it works, as the next three
    std::vector<float> m_piece;          // keeps its memory, so that the tap never waits for more
    std::unique_ptr<RunningCopy> m_copy; // of m_current
    FilesHandler m_onFiles;

    std::jthread m_writer;
};

} // namespace fenlo
