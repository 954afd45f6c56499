// What ostquote-make-assets draws: OstQuote's logos and launch picture, one scale at a time,
// and OstFoundation's images, all scales at once.
#pragma once

#include "Canvas.h"

#include <QDir>
#include <QImage>
#include <QTextStream>

namespace assets {

// launch_ostrel_logo: green mark + dark-grey wordmark on a transparent background.
QImage renderLaunchLogo(const Fonts &fonts, int scale);
// ostrel_logo_quote: white mark + white wordmark with a soft shadow, for photos.
QImage renderQuoteLogo(const Fonts &fonts, int scale);
// default_launch_image: a dawn landscape over a still lake.
QImage renderLaunchImage(int scale);

// OstFoundation's navigation arrows, share bar icon and share panel icons, at 1x, 2x and 3x,
// each file named on `log`. False when one could not be written.
bool writeFoundationImages(const QDir &out, const Fonts &fonts, QTextStream &log);

} // namespace assets
