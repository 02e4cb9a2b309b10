#include "WhisperEngine/Models/ModelRepository.h"

#include "ModelFixture.h"
#include "WhisperEngine/Models/PublisherModels.h"
#include "WhisperEngine/WhisperError.h"
#include "base/Json.h"
#include "platform/HttpClient.h"
#include "support/VirtualTime.h"

#include <atomic>
#include <gmock/gmock.h>
#include <map>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::test;
using namespace fenlo::whisper;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

/// A hub in memory: repositories with their files. Answers on several threads.
class MemoryHub final : public HttpClient {
public:
    HttpResponse send(const HttpRequest& request, std::stop_token stop) override {
        ++requests;
        if (stop.stop_requested())
            throw HttpError(HttpError::Kind::cancelled, "cancelled");
        if (isDown)
            throw HttpError(HttpError::Kind::connection, "no route to host");
        for (const auto& [repo, files] : repositories) {
            if (request.url.starts_with("https://hub.test/api/models/" + repo + "/tree/"))
                return {200, {}, listing(files)};
            const std::string folder = "https://hub.test/" + repo + "/resolve/main/";
            if (request.url.starts_with(folder))
                if (const auto file = files.find(request.url.substr(folder.size())); file != files.end())
                    return stream(request, file->second);
        }
        return {404, {}, ""};
    }
    void preconnect(const std::string&) override {}

    using Files = std::map<std::string, std::string>;
    std::map<std::string, Files> repositories;
    std::string failing; // content that breaks off
    bool isDown = false;
    std::atomic<int> requests = 0;

private:
    static std::string listing(const Files& files) {
        auto list = nlohmann::json::array();
        for (const auto& [path, content] : files)
            list.push_back({{"type", "file"}, {"path", path}, {"size", content.size()}});
        return writeJson(list);
    }

    HttpResponse stream(const HttpRequest& request, const std::string& content) const {
        const HttpResponse head{200, {}, ""};
        if (request.onHead)
            request.onHead(head);
        const bool breaks = content == failing;
        request.onBody(std::string_view(content).substr(0, breaks ? content.size() / 2 : content.size()));
        if (breaks)
            throw HttpError(HttpError::Kind::connection, "the connection broke");
        return head;
    }
};

const MemoryHub::Files checkpoint{{"config.json", "{\"d_model\": 768}"},
                                  {"generation_config.json", "{}"},
                                  {"tokenizer.json", "{\"model\": 1}"},
                                  {"model.safetensors", "the weights"},
                                  {"pytorch_model.bin", "the same weights again"},
                                  {"README.md", "read me"}};

} // namespace

class Models : public ModelFixture {
protected:
    std::string choose(const std::string& name) { return chooseModel(downloads, name, log, stop.get_token()); }
    fs::path fetch(const std::string& variant) { return download(downloads, variant, stop.get_token()); }
    std::string failureOf(const std::function<void()>& action) {
        try {
            action();
        } catch (const WhisperError& error) {
            kind = error.kind;
            return error.what();
        }
        return "no failure";
    }
    void addVariant(const std::string& variant, const MemoryHub::Files& files = checkpoint) {
        for (const auto& [path, content] : files)
            http.repositories["maker/models"].insert_or_assign(variant + "/" + path, content);
    }

    VirtualClock clock;
    MemoryHub http;
    hub::HubClient client{http, {.endpoint = "https://hub.test", .token = "", .offline = false}, clock};
    ModelDownloads downloads{client, {}, base, clock};
    ModelRepository& repository = downloads.repository;
    std::vector<std::string> logged;
    const Logging log{LogLevel::debug, [this](const std::string& line) { logged.push_back(line); }};
    std::stop_source stop;
    WhisperError::Kind kind{};
};

TEST_F(Models, StockVariantsComeFromTheirPublishers) {
    EXPECT_EQ(publisherRepository("openai_whisper-small.en"), "openai/whisper-small.en");
    EXPECT_EQ(publisherRepository("openai_whisper-large-v2_turbo_955MB"), "openai/whisper-large-v2");
    EXPECT_EQ(publisherRepository("openai_whisper-large-v3_947MB"), "openai/whisper-large-v3");
    EXPECT_EQ(publisherRepository("distil-whisper_distil-large-v3_594MB"), "distil-whisper/distil-large-v3");
    for (const char* turbo : {"openai_whisper-large-v3-v20240930", "openai_whisper-large-v3-v20240930_626MB",
                              "openai_whisper-large-v3-v20240930_turbo_632MB", "openai_whisper-large-v3-turbo"})
        EXPECT_EQ(publisherRepository(turbo), "openai/whisper-large-v3-turbo") << turbo;
    for (const char* wrong : {"", "small", "_small", "openai_", "../x_y", "a/b_c"})
        EXPECT_THROW(publisherRepository(wrong), WhisperError) << wrong;
}

TEST_F(Models, NamesAreMatched) {
    EXPECT_EQ(choose("small"), "openai_whisper-small");
    EXPECT_THAT(logged, ElementsAre("Multiple models found matching \"small\" in the publishers' repositories"));
    EXPECT_EQ(choose("small.en"), "openai_whisper-small.en");
    EXPECT_EQ(choose("large-v3"), "openai_whisper-large-v3") << "and not the distilled one";
    EXPECT_EQ(choose("distil-large-v3"), "distil-whisper_distil-large-v3");
    EXPECT_EQ(choose("distil*v3"), "distil-whisper_distil-large-v3");
    EXPECT_EQ(choose("medium"), "openai_whisper-medium");
    for (const char* turbo : {"turbo", "large-v3-turbo", "openai_whisper-large-v3-v20240930_626MB"})
        EXPECT_EQ(choose(turbo), "openai_whisper-large-v3-v20240930") << "one folder for one checkpoint";
    EXPECT_EQ(http.requests, 0);
    EXPECT_EQ(failureOf([&] { choose("smal*l.xx"); }),
              "Model not found. Please check the model or repo name and try again.\n"
              "Error: No models found matching \"smal*l.xx\" in the publishers' repositories");
}

TEST_F(Models, ARepositoryOfFoldersIsListed) {
    repository.name = "maker/models";
    for (const char* variant : {"openai_whisper-small.en", "openai_whisper-small", "openai_whisper-small_216MB",
                                "other_whisper-small", ".hidden"})
        addVariant(variant);
    http.repositories["maker/models"]["a/b/config.json"] = "{}";
    EXPECT_THAT(fetchAvailableModels(client, repository, {}, {}),
                ElementsAre("openai_whisper-small", "openai_whisper-small.en", "openai_whisper-small_216MB",
                            "other_whisper-small"));
    EXPECT_THAT(fetchAvailableModels(client, repository, {"*.en", "other*"}, {}),
                ElementsAre("openai_whisper-small.en", "other_whisper-small"));
    EXPECT_EQ(choose("small"), "openai_whisper-small");
    EXPECT_THAT(logged, Contains("Multiple models found matching \"small\" in maker/models"));
    repository.name = "maker/nothing";
    EXPECT_THAT(failureOf([&] { choose("small"); }), HasSubstr("Model not found. Please check the model or repo name"));
}

TEST_F(Models, InstalledModelsAreUsedWithoutAHub) {
    repository.name = "maker/models";
    install("openai_whisper-small.en");
    http.isDown = true;
    EXPECT_EQ(choose("small.en"), "openai_whisper-small.en");
    EXPECT_EQ(fetch("openai_whisper-small.en"), base / "openai_whisper-small.en");
    EXPECT_EQ(http.requests, 0);
    EXPECT_EQ(choose("*small*"), "openai_whisper-small.en");
    EXPECT_THAT(failureOf([&] { choose("small"); }), HasSubstr("no route to host")) << "the other speaks only English";

    repository.name.clear();
    install("our-own.en");
    EXPECT_EQ(fetch("our-own.en"), base / "our-own.en") << "no publisher has it";
}

TEST_F(Models, DownloadsWhatACheckpointNeeds) {
    http.repositories["openai/whisper-small"] = checkpoint;
    std::uint64_t received = 0;
    downloads.progress = [&](hub::DownloadProgress step) { received = step.received; };
    const fs::path folder = fetch("openai_whisper-small");
    EXPECT_EQ(folder, base / "openai_whisper-small");
    EXPECT_EQ(files::read(folder / "model.safetensors"), "the weights");
    EXPECT_TRUE(fs::exists(folder / "generation_config.json"));
    EXPECT_FALSE(fs::exists(folder / "pytorch_model.bin"));
    EXPECT_EQ(received, 41u);
    EXPECT_TRUE(fs::is_empty(base / ".partial"));

    const int before = http.requests;
    EXPECT_EQ(fetch("openai_whisper-small"), folder);
    EXPECT_EQ(http.requests, before);
}

TEST_F(Models, DownloadsShardsOfAFolder) {
    repository.name = "maker/models";
    addVariant("openai_whisper-big",
               {{"config.json", "{}"},
                {"tokenizer.json", "{}"},
                {"model.safetensors.index.json", R"({"weight_map": {"a": "model-00001-of-00001.safetensors"}})"},
                {"model-00001-of-00001.safetensors", "1"}});
    addVariant("openai_whisper-bigger");
    const fs::path folder = fetch("openai_whisper-big");
    EXPECT_EQ(files::read(folder / "model-00001-of-00001.safetensors"), "1");
    EXPECT_FALSE(fs::exists(base / "openai_whisper-bigger"));
    EXPECT_FALSE(fs::exists(base / ".partial/openai_whisper-big"));
}

TEST_F(Models, AnUnfinishedDownloadStaysOutOfSightAndGoesOn) {
    http.repositories["openai/whisper-tiny"] = checkpoint;
    http.failing = "the weights";
    EXPECT_THAT(failureOf([&] { fetch("openai_whisper-tiny"); }), HasSubstr("the connection broke"));
    EXPECT_EQ(kind, WhisperError::Kind::modelsUnavailable);
    EXPECT_FALSE(fs::exists(base / "openai_whisper-tiny"));
    http.failing.clear();
    EXPECT_EQ(files::read(fetch("openai_whisper-tiny") / "model.safetensors"), "the weights");
}

TEST_F(Models, AFolderThatLostAFileIsMendedAndKeepsTheRest) {
    http.repositories["openai/whisper-tiny"] = checkpoint;
    const fs::path folder = fetch("openai_whisper-tiny");
    writeFile(folder / "AudioEncoder", "compiled");
    fs::remove(folder / "tokenizer.json");
    EXPECT_EQ(files::read(fetch("openai_whisper-tiny") / "tokenizer.json"), "{\"model\": 1}");
    EXPECT_EQ(files::read(folder / "AudioEncoder"), "compiled");
}

TEST_F(Models, FailuresAreToldInOneLine) {
    EXPECT_THAT(
        failureOf([&] { fetch("openai_whisper-none"); }),
        HasSubstr("Model not found. Please check the model or repo name and try again.\nError: the hub has no"));
    http.repositories["openai/whisper-tiny"] = {{"config.json", "{}"}, {"tokenizer.json", "{}"}};
    EXPECT_EQ(failureOf([&] { fetch("openai_whisper-tiny"); }),
              "openai/whisper-tiny lacks model.safetensors; choose another model");
    for (const char* name : {"", "..", "../openai_whisper-tiny", "openai_whisper-tiny/../..", ".partial"})
        EXPECT_THAT(failureOf([&] { fetch(name); }), HasSubstr("is no name of a model")) << name;
    stop.request_stop();
    http.repositories["openai/whisper-tiny"] = checkpoint;
    failureOf([&] { fetch("openai_whisper-tiny"); });
    EXPECT_EQ(kind, WhisperError::Kind::cancelled);
}

TEST_F(Models, TheRepositorysTableOfDevices) {
    const auto fetched = [&] { return fetchModelSupportConfig(downloads, log, stop.get_token()); };
    EXPECT_EQ(fetched().repoName, "whisper-models-fallback");
    EXPECT_THAT(logged, IsEmpty());

    repository.name = "maker/models";
    addVariant("openai_whisper-tiny");
    auto& files = http.repositories["maker/models"];
    const std::string table = R"({"name": "own", "version": "1", "device_support": []})";
    files["config.json"] = table;
    EXPECT_EQ(fetched().repoName, "own");
    EXPECT_THAT(logged, ElementsAre("Searching for config file matching \"config.json\" in maker/models"));

    files.erase("config.json");
    files["config-v2.json"] = table;
    EXPECT_EQ(fetched().repoName, "own");
    EXPECT_THAT(logged, Contains("No config files found matching \"config.json\""));
    EXPECT_THAT(logged, Contains("Using first matching file: config-v2.json"));

    files["config-v2.json"] = "no table";
    EXPECT_EQ(fetched().repoName, "whisper-models-fallback");
    EXPECT_THAT(logged.back(), HasSubstr("Fetch model support config failed with error: the list of supported models"));
    files.erase("config-v2.json");
    EXPECT_EQ(fetched().repoName, "whisper-models-fallback");
    EXPECT_EQ(logged.back(), "Fetch model support config failed with error: the repository has no such file");
    stop.request_stop();
    EXPECT_NE(failureOf(fetched), "no failure");
    EXPECT_EQ(kind, WhisperError::Kind::cancelled);
}
