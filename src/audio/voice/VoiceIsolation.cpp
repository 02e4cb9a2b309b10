#include "audio/voice/VoiceIsolation.h"
