#pragma once

#include "ui/controls/Appearance.h"
#include "ui/home/HomeWindow.h"

namespace fenlo {

class Config;

/// The windows of the desktop program, and the models that live as long as it does. What is passed in outlives them.
struct Windows {
    explicit Windows(Config& config);
    Windows(const Windows&) = delete;
    Windows& operator=(const Windows&) = delete;

    Appearance appearance;
    HomeWindow home;
};

} // namespace fenlo
