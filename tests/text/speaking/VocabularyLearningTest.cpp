#include "text/VocabularyLearning.h"
#include "base/Files.h"
#include "support/LogCapture.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

using namespace fenlo;

namespace {

struct Learning : ::testing::Test {
    test::VirtualClock clock;
    const test::TemporaryFolder folder;
    Config config{folder / "config.json", clock};
    using Terms = std::vector<std::string>;

    /// As the next start of the program finds it.
    Terms learned() const { return Config(folder / "config.json", clock).get().professionVocabulary; }
};

} // namespace

TEST_F(Learning, ARewriteTeachesTheNamesItRestored) {
    config.update([](Settings& s) {
        s.customVocabulary = {"kubernetes"};
        s.professionVocabulary = {"New York"};
    });
    const test::LogCapture logged;
    learnFromRewrite(config, "ask “fenlo” about kubernetes,\nin paris where was it",
                     "Ask Fenlo's Kubernetes, (Grafana)\nand Ümit-Bot in Paris. Grafana! Tom 東京タワー York rosuvas");
    EXPECT_EQ(learned(), (Terms{"New York", "Fenlo's", "Grafana", "Ümit-Bot", "York"}));
    EXPECT_TRUE(logged.contains("[Fenlo] Auto-learned 4 term(s): Fenlo's, Grafana, Ümit-Bot, York"));
    learnFromRewrite(config, "x", "GRAFANA again");
    EXPECT_EQ(learned().size(), 5u) << "known terms are not learned again";
}

TEST_F(Learning, ACorrectionTeachesACapitalisedTermOnce) {
    config.update([](Settings& s) { s.customVocabulary = {"jim beam"}; });
    const test::LogCapture logged;
    for (const char* correction : {"Jo", "paris", "Jim Beam", "1st", "東京都", "\u0301Ab"})
        learnCorrection(config, correction);
    EXPECT_EQ(learned(), Terms());
    for (const char* correction : {"Łódź", "ŁÓDŹ", "Tom"})
        learnCorrection(config, correction);
    EXPECT_EQ(learned(), (Terms{"Łódź", "Tom"}));
    EXPECT_EQ(logged.lines(),
              (Terms{"[Fenlo] Voice correction learned: 'Łódź'", "[Fenlo] Voice correction learned: 'Tom'"}));
}

TEST_F(Learning, KeepsTheNewestTwoHundred) {
    config.update([](Settings& s) {
        for (int i = 0; i < 199; ++i)
            s.professionVocabulary.push_back("Term" + std::to_string(i));
    });
    learnCorrection(config, "Tom");
    EXPECT_EQ(learned().front(), "Term0") << "two hundred stay";
    learnFromRewrite(config, "", "Newest Another");
    ASSERT_EQ(learned().size(), 200u);
    EXPECT_EQ(learned().front(), "Term2");
    EXPECT_EQ(learned().back(), "Another");
}
