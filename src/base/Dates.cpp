#include "base/Dates.h"
