#pragma once

#include "ui/Theme.h"

#include <QString>

// Which installed face the theme's fonts use: for each design, the first of a list of
// candidates the platform has (looked up once), else the platform's own default.
namespace FontFamilies {

QString of(Theme::FontDesign design);

} // namespace FontFamilies
