#include "app/transcribe/PartialTranscript.h"

#include "base/Clock.h"
#include "base/Files.h"
#include "base/Hexadecimal.h"
#include "base/Json.h"
#include "base/OpenSsl.h"
#include "base/Text.h"

#include <array>
#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

namespace fenlo {

namespace fs = std::filesystem;

using whisper::StoppedTranscription;
using whisper::TranscriptionCheckpoint;
using whisper::TranscriptionSegment;
using whisper::WordTiming;

namespace {

using Json = nlohmann::ordered_json;

constexpr int formatVersion = 1;
constexpr double writeInterval = 30; // seconds

/// The engine gives valid UTF-8 already; this guards against anything else.
Json textOf(const std::string& text) {
    return text::repairUtf8(text);
}

/// JSON cannot hold infinity or NaN: they become null.
Json numberOf(float value) {
    return std::isfinite(value) ? Json(value) : Json();
}

float numberFrom(const Json& json) {
    return json.is_null() ? std::nanf("") : json.get<float>();
}

Json jsonOf(const WordTiming& word) {
    return {{"word", textOf(word.word)},
            {"tokens", word.tokens},
            {"start", numberOf(word.start)},
            {"end", numberOf(word.end)},
            {"probability", numberOf(word.probability)}};
}

WordTiming wordFrom(const Json& json) {
    return {.word = json.at("word"),
            .tokens = json.at("tokens"),
            .start = numberFrom(json.at("start")),
            .end = numberFrom(json.at("end")),
            .probability = numberFrom(json.at("probability"))};
}

Json jsonOf(const TranscriptionSegment& segment) {
    Json logProbs = Json::array();
    for (const float logProb : segment.tokenLogProbs)
        logProbs.push_back(numberOf(logProb));
    Json json{{"id", segment.id},
              {"seek", segment.seek},
              {"start", numberOf(segment.start)},
              {"end", numberOf(segment.end)},
              {"text", textOf(segment.text)},
              {"tokens", segment.tokens},
              {"tokenLogProbs", std::move(logProbs)},
              {"temperature", numberOf(segment.temperature)},
              {"avgLogprob", numberOf(segment.avgLogprob)},
              {"compressionRatio", numberOf(segment.compressionRatio)},
              {"noSpeechProb", numberOf(segment.noSpeechProb)},
              {"speechWithoutText", segment.speechWithoutText}};
    if (segment.words) {
        json["words"] = Json::array();
        for (const WordTiming& word : *segment.words)
            json["words"].push_back(jsonOf(word));
    }
    return json;
}

TranscriptionSegment segmentFrom(const Json& json) {
    TranscriptionSegment segment{.id = json.at("id"),
                                 .seek = json.at("seek"),
                                 .start = numberFrom(json.at("start")),
                                 .end = numberFrom(json.at("end")),
                                 .text = json.at("text"),
                                 .tokens = json.at("tokens"),
                                 .tokenLogProbs = {},
                                 .temperature = numberFrom(json.at("temperature")),
                                 .avgLogprob = numberFrom(json.at("avgLogprob")),
                                 .compressionRatio = numberFrom(json.at("compressionRatio")),
                                 .noSpeechProb = numberFrom(json.at("noSpeechProb")),
                                 .words = {},
                                 .speechWithoutText = json.at("speechWithoutText")};
    for (const Json& logProb : json.at("tokenLogProbs"))
        segment.tokenLogProbs.push_back(numberFrom(logProb));
    if (json.contains("words")) {
        segment.words.emplace();
        for (const Json& word : json.at("words"))
            segment.words->push_back(wordFrom(word));
    }
    return segment;
}

Json jsonOf(std::size_t part, const StoppedTranscription& stopped) {
    const TranscriptionCheckpoint& checkpoint = stopped.checkpoint;
    Json segments = Json::array();
    for (const TranscriptionSegment& segment : stopped.segments)
        segments.push_back(jsonOf(segment));
    return {{"part", part},
            {"clip", checkpoint.clip},
            {"seek", checkpoint.seek},
            {"windowId", checkpoint.windowId},
            {"language", checkpoint.language},
            {"previousTokens", checkpoint.previousTokens},
            {"lastSpeechTimestamp", numberOf(checkpoint.lastSpeechTimestamp)},
            {"segments", std::move(segments)}};
}

StoppedTranscription stoppedFrom(const Json& json) {
    StoppedTranscription stopped{.checkpoint = {.clip = json.at("clip"),
                                                .seek = json.at("seek"),
                                                .windowId = json.at("windowId"),
                                                .language = json.at("language"),
                                                .previousTokens = json.at("previousTokens"),
                                                .lastSpeechTimestamp = numberFrom(json.at("lastSpeechTimestamp"))},
                                 .segments = {}};
    if (stopped.checkpoint.seek < 0)
        throw std::out_of_range("seek");
    for (const Json& segment : json.at("segments"))
        stopped.segments.push_back(segmentFrom(segment));
    return stopped;
}

} // namespace

std::string encodePartial(const PartialTranscript& partial) {
    Json parts = Json::array();
    for (const auto& [part, stopped] : partial.parts)
        parts.push_back(jsonOf(part, stopped));
    const Json root{{"fenloPartialTranscript", formatVersion},
                    {"recording", partial.identity.recording},
                    {"options", textOf(partial.identity.options)},
                    {"parts", std::move(parts)}};
    return writeJson(root) + "\n";
}

std::optional<PartialTranscript> decodePartial(std::string_view json) {
    try {
        const Json root = parseOrderedJson(json);
        if (root.at("fenloPartialTranscript") != formatVersion)
            return {};
        PartialTranscript partial{.identity = {root.at("recording"), root.at("options")}, .parts = {}};
        for (const Json& part : root.at("parts"))
            partial.parts[part.at("part")] = stoppedFrom(part);
        return partial;
    } catch (const std::exception&) { // wrong syntax, a wrong type, a value out of range: not one of our files
        return {};
    }
}

std::optional<std::string> hashOfFile(const fs::path& file) {
    std::error_code error;
    if (!fs::is_regular_file(file, error)) // a device has no end
        return {};
    std::ifstream stream(file, std::ios::binary);
    const std::unique_ptr<EVP_MD_CTX, decltype(::EVP_MD_CTX_free)*> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    if (!stream || !context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
        return {};
    std::vector<char> block(1 << 20);
    while (stream.read(block.data(), static_cast<std::streamsize>(block.size())), stream.gcount() > 0)
        EVP_DigestUpdate(context.get(), block.data(), static_cast<std::size_t>(stream.gcount()));
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned size = 0;
    if (stream.bad() || EVP_DigestFinal_ex(context.get(), hash.data(), &size) != 1)
        return {};
    return hexadecimal(std::as_bytes(std::span(hash).first(size)));
}

PartialKeeper::PartialKeeper(fs::path file, PartialTranscript partial, Clock& clock)
    : m_file(std::move(file)), m_clock(clock), m_partial(std::move(partial)), m_lastWrite(clock.now()) {}

void PartialKeeper::add(std::size_t part, const TranscriptionCheckpoint& checkpoint,
                        std::span<const TranscriptionSegment> segments) {
    const std::lock_guard lock(m_mutex);
    StoppedTranscription& stopped = m_partial.parts[part];
    stopped.checkpoint = checkpoint;
    stopped.segments.insert(stopped.segments.end(), segments.begin(), segments.end());
    if (m_clock.now() - m_lastWrite < writeInterval)
        return;
    m_lastWrite = m_clock.now();
    files::writeAtomically(m_file, encodePartial(m_partial)); // save() reports a failure
}

PartialKeeper::Saved PartialKeeper::save() {
    const std::lock_guard lock(m_mutex);
    if (m_partial.parts.empty())
        return Saved::nothing;
    return files::writeAtomically(m_file, encodePartial(m_partial)) ? Saved::written : Saved::failed;
}

} // namespace fenlo
