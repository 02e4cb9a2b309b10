#include "text/professions/Professions.h"
