#include "audio/voice/VoiceFeatures.h"
