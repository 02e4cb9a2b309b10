#include "text/AICommands.h"
