#pragma once

#include "meeting/MeetingArchive.h"
#include "meeting/MeetingControl.h"
#include "meeting/MeetingDelivery.h"
#include "meeting/MeetingModeController.h"
#include "meeting/MeetingNotesWriter.h"
#include "settings/Keychain.h"
#include "settings/ServiceKeys.h"
#include "support/EnvironmentVariable.h"
#include "support/FakeHttpClient.h"
#include "support/FakeMailProgram.h"
#include "support/FakeSecureStore.h"
#include "support/FakeSystemAudio.h"
#include "support/LogCapture.h"
#include "support/SessionFixture.h"
#include "support/TemporaryFolder.h"

namespace fenlo::test {

/// A whole meeting on virtual time: the real recorder, archive and controller, and a recogniser that answers as the
/// test says.
class MeetingFixture : public SessionFixture {
protected:
    MeetingFixture() { restart(); }

    /// The program as after a new start; what the one before had under way is gone without its doing.
    void restart() {
        control.reset();
        meetings.reset();
        // A killed process has no workers left.
        workers = std::make_unique<ManualBackground>();
        meetings = std::make_unique<MeetingModeController>(services(archive, *workers));
        control = std::make_unique<MeetingControl>(
            MeetingControl::Services{config, mainQueue, recorder, session, overlay, menuBar, *meetings});
        meetings->onRecovered = [this](MeetingModeController::Recovered what) {
            ++(what == MeetingModeController::Recovered::meeting ? recovered : recoveredNotes);
        };
        work();
    }
    MeetingModeController::Services services(MeetingArchive& where, Background& its) {
        return {.config = config,
                .clock = clock,
                .mainQueue = mainQueue,
                .background = its,
                .systemAudio = computer,
                .archive = where,
                .notesWriter = writer,
                .delivery = *delivery,
                .transcribe = [this](const TranscribeRequest& request,
                                     std::stop_token) { return hear(numberOf(request.audio)); },
                .recogniserDelay = [this] { return std::string(isReady ? "" : "The engine is being loaded"); },
                .recordMeeting =
                    [this](const std::string& text, std::int64_t segments, double duration) {
                        recorded = {text, segments, duration};
                    },
                .syncStats = [this] { ++syncs; }};
    }

    void begin() {
        control->start();
        workers->runAll(); // one of them opens the microphone
        mainQueue.runPosted();
    }
    /// Until nothing is left to do at this moment.
    void work() {
        do {
            workers->runAll();
            background.runAll();
            mainQueue.runPosted();
        } while (workers->pending() > 0);
    }
    /// As a microphone hears it: not all zeros.
    void quiet(double seconds) {
        constexpr double step = 0.1;
        constexpr float noise = 1e-4F;
        const std::vector<float> silence(static_cast<std::size_t>(audioInput.microphone.format.sampleRate * step),
                                         noise);
        for (double heard = 0; heard < seconds - step / 2; heard += step) {
            audioInput.hear(silence);
            mainQueue.advance(step);
        }
    }
    /// A chunk that closes at a pause.
    void sentence() {
        speak(3);
        quiet(1.5);
        work();
    }
    void pass(double seconds) {
        for (double passed = 0; passed < seconds; passed += 1) {
            quiet(1);
            work();
        }
    }
    std::vector<std::string> texts() const {
        std::vector<std::string> all;
        for (const TranscriptSegment& segment : meetings->segments())
            all.push_back(segment.text);
        return all;
    }
    /// The archive's only file.
    std::string filed() {
        work();
        const auto all = archive.load();
        EXPECT_EQ(all.size(), 1U);
        return all.empty() ? "" : all.front().content;
    }
    /// Folders of meetings that are not complete.
    std::size_t unfinished() const {
        std::size_t count = 0;
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path, error))
            count += entry.is_directory() && entry.path().filename() != "unrecognised";
        return count;
    }
    static int numberOf(const std::filesystem::path& chunk) {
        return std::stoi(chunk.stem().string().substr(chunk.stem().string().rfind('-') + 1));
    }

    struct Recorded {
        std::string text;
        std::int64_t segments = 0;
        double duration = 0;
    };

    std::function<std::string(int number)> hear = [](int number) { return "Words of chunk " + std::to_string(number); };
    bool isReady = true;
    Recorded recorded;
    int recovered = 0;
    int recoveredNotes = 0;

    const EnvironmentVariable noGeminiKey{"GEMINI_API_KEY", nullptr}, noGroqKey{"GROQ_API_KEY", nullptr};
    TemporaryFolder folder;
    FakeSystemAudio computer;
    FakeHttpClient http;
    FakeSecureStore store;
    FakeMailProgram mailProgram;
    Keychain keychain{store};
    ServiceKeys serviceKeys{keychain, {}, ""};
    MeetingArchive archive{folder.path};
    MeetingNotesWriter writer{{config, deployment, http, serviceKeys}};
    std::unique_ptr<MeetingDelivery> delivery =
        std::make_unique<MeetingDelivery>(MeetingDelivery::Services{keychain, writer, clock, {}, &mailProgram});
    std::unique_ptr<ManualBackground> workers;
    std::unique_ptr<MeetingModeController> meetings;
    std::unique_ptr<MeetingControl> control;
};

} // namespace fenlo::test
