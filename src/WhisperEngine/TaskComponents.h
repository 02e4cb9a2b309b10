#pragma once

namespace fenlo {
class Clock;
}

namespace fenlo::whisper {

class AudioEncoderModel;
class AudioProcessor;
class Logging;
class MelSpectrogramModel;
class SegmentSeeker;
class TextDecoder;
class VoiceActivityDetector;
class WhisperTokenizer;

/// What every task shares: constant, and outlives it.
struct TaskComponents {
    const MelSpectrogramModel& featureExtractor;
    const AudioEncoderModel& audioEncoder;
    const TextDecoder& textDecoder;
    const AudioProcessor& audioProcessor;
    const SegmentSeeker& segmentSeeker;
    const WhisperTokenizer& tokenizer;
    Clock& clock;
    const Logging& logging;
    const VoiceActivityDetector* voiceActivityDetector = nullptr; // null: the energy decides
};

} // namespace fenlo::whisper
