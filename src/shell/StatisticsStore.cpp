#include "shell/StatisticsStore.h"
