#include "text/LanguageModelCalls.h"
