#pragma once

#include "settings/Config.h"

#include <string>
#include <vector>

/// Terms that the program learns from corrections and from the language model.
///
/// Threads: any; the settings are changed and saved on the caller's thread.
namespace fenlo {

/// Learns a voice correction that looks like a name and is not known yet.
void learnCorrection(Config& config, const std::string& correction);

/// Learns the proper nouns that a rewrite restored: capitalised words that the transcript did not have.
void learnFromRewrite(Config& config, const std::string& textBeforeRewrite, const std::string& rewrittenText);

/// The terms that learnFromRewrite() would learn, in order, each once. Pure.
std::vector<std::string> restoredTerms(const std::string& textBeforeRewrite, const std::string& rewrittenText,
                                       const Settings& settings);

} // namespace fenlo
