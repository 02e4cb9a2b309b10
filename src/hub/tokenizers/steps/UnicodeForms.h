#pragma once

#include "hub/tokenizers/AlignedText.h"

/// Forms of text that the Unicode standard defines (Standard Annex 15, and section 3.13 for the lower case).
namespace fenlo::hub {

enum class UnicodeForm { nfc, nfd, nfkc, nfkd };

void normalizeTo(UnicodeForm form, AlignedText& text);
/// Letter by letter: not by the place in a word, as the standard has it for the Greek sigma.
void lowercase(AlignedText& text);

} // namespace fenlo::hub
