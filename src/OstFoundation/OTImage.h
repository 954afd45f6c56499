#pragma once

#include "OstFoundationGlobal.h"

#include <QUrl>

// The foundation's shared images, as image sources for Qt Quick (1x; @2x and @3x beside them
// are picked by Image for high-density screens).

// The navigation bar's back arrow, white, and its pressed look.
OSTFOUNDATION_EXPORT QUrl ostrelNavigationBackImage();
OSTFOUNDATION_EXPORT QUrl ostrelNavigationBackHighlightImage();
