#include "text/Snippets.h"
