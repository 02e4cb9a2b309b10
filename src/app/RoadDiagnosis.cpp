#include "app/RoadDiagnosis.h"

#include "base/Text.h"
#include "speech/Transcriber.h"
#include "text/SmartRewrite.h"

#include <string>

namespace fenlo {

namespace {

using State = Diagnosis::State;

std::string exportRemedy(const ServiceKey& key) {
    return std::string("export ") + key.variable + "=… before Fenlo starts";
}

std::string keyringRemedy(const ServiceKey& key) {
    return std::string(", or `fenlo keys set ") + key.name + "`";
}

void diagnoseRecogniser(std::vector<Diagnosis>& findings, const RoadFacts& facts, const TakeRoad& road) {
    const CloudService service = chosenRecogniser(facts.settings, facts.provider);
    if (const std::string source = keySource(service, KeyUse::speech, facts); !source.empty()) {
        findings.push_back({"recogniser key", State::works, source, ""});
        return;
    }
    const ServiceKey& key = serviceKey(service);
    findings.push_back(
        {"recogniser key", road.leadsThrough ? State::limited : State::broken,
         std::string(key.variable) + " is not set",
         exportRemedy(key) +
             (key.hasSource(KeyUse::speech, KeySource::keyring, facts.keyring) ? keyringRemedy(key) : "")});
}

void diagnoseLanguageModel(std::vector<Diagnosis>& findings, const RoadFacts& facts) {
    if (!wantsRewrite(facts.settings))
        return;
    const auto services = rewritingServices(facts.settings);
    std::vector<std::string> names;
    for (const CloudService service : services) {
        if (const std::string source = keySource(service, KeyUse::rewriting, facts); !source.empty()) {
            findings.push_back({"rewriting key", State::works, source, ""});
            return;
        }
        names.emplace_back(serviceKey(service).name);
    }
    const ServiceKey& key = serviceKey(services.back());
    findings.push_back({"rewriting key", State::limited,
                        "no key of " + text::join(names, " or ") + ": text is pasted as it was heard, with a beep",
                        exportRemedy(key) + keyringRemedy(key) + ", or set \"smart_rewrite\": false"});
}

} // namespace

void diagnoseRoad(std::vector<Diagnosis>& findings, const RoadFacts& facts) {
    const TakeRoad road = roadOf(facts);
    diagnoseRecogniser(findings, facts, road);
    diagnoseLanguageModel(findings, facts);
    findings.push_back({"road of a take", road.leadsThrough ? State::works : State::broken,
                        road.leadsThrough ? road.speech + "; then " + road.text : road.speech,
                        road.leadsThrough ? "" : "see \"recogniser key\" above"});
}

} // namespace fenlo
