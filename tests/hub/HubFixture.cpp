#include "HubFixture.h"

#include <random>

namespace fenlo::test {

using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

const std::string& randomBytes() {
    static const std::string bytes = [] {
        std::mt19937 random(7);
        std::string made(2'500'000, '\0');
        for (char& byte : made)
            byte = static_cast<char>(random());
        return made;
    }();
    return bytes;
}

} // namespace

HubFixture::HubFixture() : large(randomBytes()) {
    for (const char* name : {"http_proxy", "https_proxy", "all_proxy"})
        ::unsetenv(name);
    settings.endpoint = hub.server().url();
    publish("config.json", small);
    publish(weights, large);
}

void HubFixture::publish(const std::string& path, const std::string& content, const std::string& repository) {
    const auto place = root / "served" / repository / path;
    std::filesystem::create_directories(place.parent_path());
    ASSERT_TRUE(files::writeAtomically(place, content));
}

hub::HubError HubFixture::failure(const std::vector<std::string>& globs, std::stop_token stop) {
    try {
        download(globs, stop);
    } catch (const hub::HubError& error) {
        EXPECT_THAT(error.what(), Not(HasSubstr("\n")));
        EXPECT_THAT(error.what(), Not(HasSubstr("hf_secret")));
        if (error.kind != hub::HubError::Kind::cancelled) {
            EXPECT_THAT(error.what(), AnyOf(HasSubstr("try again"), HasSubstr("check "), HasSubstr("unset"),
                                            HasSubstr("nothing is downloaded")))
                << "the remedy is told";
        }
        return error;
    }
    ADD_FAILURE() << "the download succeeded";
    return {hub::HubError::Kind::disk, ""};
}

void HubFixture::interruptAfter(std::uint64_t bytes) {
    hub.hit({.mode = "drop", .after = bytes, .times = 1});
    std::stop_source stop;
    clock.onSleep = [&](double) { stop.request_stop(); }; // in the pause after the break
    EXPECT_EQ(failure(onlyLarge, stop.get_token()).kind, Kind::cancelled);
    clock.onSleep = {};
    EXPECT_EQ(kept(), bytes);
    EXPECT_FALSE(std::filesystem::exists(folder / weights));
}

std::uint64_t HubFixture::kept() const {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder / ".partial", error))
        if (entry.path().extension() != ".json")
            return entry.file_size();
    return 0;
}

std::vector<LoopbackHub::Received> HubFixture::transfers() const {
    auto all = hub.requests();
    std::erase_if(all, [](const LoopbackHub::Received& received) {
        return !received.atStorage && received.wire.target.find("/resolve-cache/") == std::string::npos;
    });
    return all;
}

} // namespace fenlo::test
