#include "text/SmartRewrite.h"
