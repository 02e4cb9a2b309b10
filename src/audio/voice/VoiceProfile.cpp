#include "audio/voice/VoiceProfile.h"
