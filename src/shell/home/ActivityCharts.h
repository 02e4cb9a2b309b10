#pragma once

#include "base/Dates.h"
#include "shell/home/DashboardModel.h"

namespace fenlo {

/// Words a day over the four weeks that end with the day of `now`.
DashboardModel::Chart daysChart(const Activity& activity, dates::Moment now);

/// Words in each hour of the day.
DashboardModel::Chart hoursChart(const Activity& activity);

} // namespace fenlo
