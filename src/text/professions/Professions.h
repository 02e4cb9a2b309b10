#pragma once

#include "text/professions/ProfessionProfile.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

/// The professions, what can be chosen for each, and how the choices read. The settings hold the keys; an unknown key
/// reads as itself.
///
/// Threads: any; pure but for selectProfession(), which changes the settings it is given.
namespace fenlo {

struct Settings;

/// A choice of the profession lists.
struct ProfessionChoice {
    std::string_view key;
    std::string_view label; // what people read
};

/// In the order of the lists.
std::span<const ProfessionChoice> professionChoices();

/// The label of a profession; an empty key counts as "other".
std::string professionLabel(std::string_view key);

/// The neutral profile for a profession that is not known, empty or "other".
const ProfessionProfile& profile(std::string_view profession);

/// How a choice reads in a sentence about the user.
std::string professionDisplay(std::string_view key);
std::string roleDisplay(std::string_view key);
/// Specialties, languages, tools and practice areas.
std::string specialtyDisplay(std::string_view key);
std::string dictationTypeDisplay(std::string_view key);

/// The keys offered to a profession, in their order; empty where there is nothing to choose.
std::span<const std::string_view> roleChoices(std::string_view profession);
std::span<const std::string_view> practiceAreaChoices(std::string_view profession);
std::span<const std::string_view> specialtyChoices(std::string_view profession);
std::span<const std::string_view> dictationTypeChoices(std::string_view profession);

/// How many terms the vocabulary of the profession holds with what was learned.
inline constexpr std::size_t vocabularyLimit = 200;

/// Makes it the user's profession; its vocabulary replaces the terms that were learned before.
void selectProfession(Settings& settings, std::string_view key);

} // namespace fenlo
