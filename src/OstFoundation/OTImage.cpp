#include "OTImage.h"

#include "OTResourceHelper.h"

/*!
    \headerfile <OTImage.h>
    \inmodule OstFoundation
    \title Shared images
    \brief The foundation's shared images, as image sources for Qt Quick.

    Each is the 1x file; Image picks the @2x and @3x files beside it for high-density screens.
*/

/*!
    \relates <OTImage.h>

    Returns the navigation bar's back arrow, white.
*/
QUrl ostrelNavigationBackImage()
{
    return OTResourceHelper::imageURL(QStringLiteral("ostrel_navigation_back"));
}

/*!
    \relates <OTImage.h>

    Returns the back arrow's pressed look.
*/
QUrl ostrelNavigationBackHighlightImage()
{
    return OTResourceHelper::imageURL(QStringLiteral("ostrel_navigation_back_highlight"));
}
