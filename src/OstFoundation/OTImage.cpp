#include "OTImage.h"

#include "OTResourceHelper.h"

QUrl ostrelNavigationBackImage()
{
    return OTResourceHelper::imageURL(QStringLiteral("ostrel_navigation_back"));
}

QUrl ostrelNavigationBackHighlightImage()
{
    return OTResourceHelper::imageURL(QStringLiteral("ostrel_navigation_back_highlight"));
}
