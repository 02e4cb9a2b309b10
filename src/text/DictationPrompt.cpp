#include "text/DictationPrompt.h"
