// Which speaker each chunk of a recording gets, for scripts/measure-speakers: a line "end id" for each. The chunks are
// those of a meeting, or end at given seconds; the first number is the distance at which a new speaker begins.

#include "media/AudioFile.h"
#include "media/SpeechRate.h"
#include "meeting/RecordingChunks.h"
#include "meeting/SpeakerIdentifier.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <span>
#include <string>
#include <vector>

using namespace fenlo;

namespace {

using Chunks = std::vector<RecordingChunks::Chunk>;

Chunks cutAsAMeeting(std::span<const float> samples) {
    RecordingChunks cutter(MeetingMode::meeting);
    Chunks chunks = cutter.add(samples);
    chunks.push_back(cutter.finish());
    return chunks;
}

Chunks cutAt(std::span<const float> samples, std::span<char*> ends) {
    Chunks chunks;
    std::size_t start = 0;
    for (const char* text : ends) {
        const double seconds = std::stod(text);
        const auto end = std::min(static_cast<std::size_t>(seconds * speechRate), samples.size());
        chunks.push_back(
            {{samples.begin() + static_cast<std::ptrdiff_t>(start), samples.begin() + static_cast<std::ptrdiff_t>(end)},
             seconds});
        start = end;
    }
    return chunks;
}

} // namespace

int main(int argc, char** argv) try {
    if (argc < 3) {
        std::fprintf(stderr, "usage: speaker_labels RECORDING THRESHOLD [END...]\n");
        return 2;
    }
    const std::vector<float> samples = readRecording(argv[1], speechRate).samples;
    const auto ends = std::span(argv, static_cast<std::size_t>(argc)).subspan(3);
    SpeakerIdentifier speakers(std::stod(argv[2]));
    for (const auto& chunk : ends.empty() ? cutAsAMeeting(samples) : cutAt(samples, ends))
        if (!chunk.samples.empty())
            std::printf("%.3f %d\n", chunk.end, speakers.identify(chunk.samples, speechRate).id);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "speaker_labels: %s\n", error.what());
    return 1;
}
