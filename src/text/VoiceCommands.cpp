#include "text/VoiceCommands.h"
