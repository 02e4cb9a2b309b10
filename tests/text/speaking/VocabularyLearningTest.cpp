#include "text/VocabularyLearning.h"
#include "base/Files.h"
#include "support/LogCapture.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

using namespace fenlo;

namespace {

struct Learning : ::testing::Test {
    test::VirtualClock clock;
    Config config{std::filesystem::temp_directory_path() / files::makeUuid() / "config.json", clock};
    using Terms = std::vector<std::string>;
    Terms learned() const { return config.get().professionVocabulary; }
};

} // namespace

TEST_F(Learning, ARewriteTeachesTheNamesItRestored) {
    config.update([](Settings& s) { s.customVocabulary = {"kubernetes"}; });
    const test::LogCapture logged;
    learnFromRewrite(config, "ask fenlo about kubernetes in paris",
                     "Ask Fenlo's Kubernetes, (Grafana) and Ümit-Bot in Paris. Grafana! Tom");
    EXPECT_EQ(learned(), (Terms{"Fenlo's", "Grafana", "Ümit-Bot"}));
    EXPECT_TRUE(logged.contains("[Fenlo] Auto-learned 3 term(s): Fenlo's, Grafana, Ümit-Bot"));
    learnFromRewrite(config, "x", "Grafana again");
    EXPECT_EQ(learned().size(), 3u) << "known terms are not learned again";
}

TEST_F(Learning, ACorrectionTeachesACapitalisedTermOnce) {
    learnCorrection(config, "Jo");
    learnCorrection(config, "paris");
    EXPECT_TRUE(learned().empty());
    learnCorrection(config, "Łódź");
    learnCorrection(config, "ŁÓDŹ");
    EXPECT_EQ(learned(), Terms{"Łódź"});
}

TEST_F(Learning, KeepsTheNewestTwoHundred) {
    config.update([](Settings& s) {
        for (int i = 0; i < 200; ++i)
            s.professionVocabulary.push_back("Term" + std::to_string(i));
    });
    learnFromRewrite(config, "", "Newest Another");
    ASSERT_EQ(learned().size(), 200u);
    EXPECT_EQ(learned().front(), "Term2");
    EXPECT_EQ(learned().back(), "Another");
}
