#include "text/ModelAnswer.h"
