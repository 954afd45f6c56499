#pragma once

#include "OstFoundationGlobal.h"

#include <QColor>
#include <QList>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

// The apps' theme: colours, the font family and the durations of presented motion, one place
// for every skin. From C++: OTPalette::ostrelGreen(); from QML: OTPalette.ostrelGreen.
class OSTFOUNDATION_EXPORT OTPalette : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QColor ostrelFontColorWhite READ ostrelFontColorWhite CONSTANT)
    Q_PROPERTY(QColor ostrelShadowColor READ ostrelShadowColor CONSTANT)
    Q_PROPERTY(QColor ostrelGreen READ ostrelGreen CONSTANT)
    Q_PROPERTY(QColor ostrelFontColorSummary READ ostrelFontColorSummary CONSTANT)
    Q_PROPERTY(QColor ostrelWhite READ ostrelWhite CONSTANT)
    Q_PROPERTY(QColor ostrelBlack READ ostrelBlack CONSTANT)
    Q_PROPERTY(QColor ostrelFontColorTitle READ ostrelFontColorTitle CONSTANT)
    Q_PROPERTY(QColor ostrelFontColorCaption READ ostrelFontColorCaption CONSTANT)
    Q_PROPERTY(QColor ostrelFontColorSecondary READ ostrelFontColorSecondary CONSTANT)
    Q_PROPERTY(QColor ostrelFontColorBody READ ostrelFontColorBody CONSTANT)
    Q_PROPERTY(QColor ostrelFontColorAside READ ostrelFontColorAside CONSTANT)
    Q_PROPERTY(QColor ostrelFontColorLaunchQuote READ ostrelFontColorLaunchQuote CONSTANT)
    Q_PROPERTY(QColor ostrelErrorColor READ ostrelErrorColor CONSTANT)
    Q_PROPERTY(QColor ostrelPressedColor READ ostrelPressedColor CONSTANT)
    Q_PROPERTY(QColor ostrelSeparatorColor READ ostrelSeparatorColor CONSTANT)
    Q_PROPERTY(QColor ostrelFrameColor READ ostrelFrameColor CONSTANT)
    Q_PROPERTY(QColor ostrelGroupColor READ ostrelGroupColor CONSTANT)
    Q_PROPERTY(QColor ostrelBackgroundColor READ ostrelBackgroundColor CONSTANT)
    Q_PROPERTY(QColor ostrelHUDColor READ ostrelHUDColor CONSTANT)
    Q_PROPERTY(QColor ostrelVeilColor READ ostrelVeilColor CONSTANT)
    Q_PROPERTY(QColor ostrelButtonOnPictureColor READ ostrelButtonOnPictureColor CONSTANT)
    Q_PROPERTY(QColor ostrelFocusColor READ ostrelFocusColor CONSTANT)
    Q_PROPERTY(QString fontFamily READ fontFamily CONSTANT)
    Q_PROPERTY(int coverSlideDuration READ coverSlideDuration CONSTANT)
    Q_PROPERTY(int sheetDuration READ sheetDuration CONSTANT)
    Q_PROPERTY(int fadeDuration READ fadeDuration CONSTANT)
    Q_PROPERTY(int stackTransitionDuration READ stackTransitionDuration CONSTANT)
    Q_PROPERTY(int navigationBarDuration READ navigationBarDuration CONSTANT)
    Q_PROPERTY(QColor ostrelHairlineColor READ ostrelHairlineColor CONSTANT)
    Q_PROPERTY(int hudSymbolFontSize READ hudSymbolFontSize CONSTANT)
    Q_PROPERTY(int hudFontSize READ hudFontSize CONSTANT)
    Q_PROPERTY(int navigationTitleFontSize READ navigationTitleFontSize CONSTANT)
    Q_PROPERTY(int shareTitleFontSize READ shareTitleFontSize CONSTANT)
    Q_PROPERTY(int shareCaptionFontSize READ shareCaptionFontSize CONSTANT)
    Q_PROPERTY(int shareBarFontSize READ shareBarFontSize CONSTANT)
    Q_PROPERTY(int launchButtonFontSize READ launchButtonFontSize CONSTANT)
    Q_PROPERTY(int launchQuoteFontSize READ launchQuoteFontSize CONSTANT)
    Q_PROPERTY(int launchQuotePadFontSize READ launchQuotePadFontSize CONSTANT)
    Q_PROPERTY(int quoteDayFontSize READ quoteDayFontSize CONSTANT)
    Q_PROPERTY(int quoteMonthFontSize READ quoteMonthFontSize CONSTANT)
    Q_PROPERTY(int quoteContentFontSize READ quoteContentFontSize CONSTANT)
    Q_PROPERTY(int quoteTranslationFontSize READ quoteTranslationFontSize CONSTANT)
    Q_PROPERTY(int quoteAuthorFontSize READ quoteAuthorFontSize CONSTANT)
    Q_PROPERTY(qreal dimmerOpacity READ dimmerOpacity CONSTANT)
    Q_PROPERTY(QColor galleryBackgroundColor READ galleryBackgroundColor CONSTANT)
    Q_PROPERTY(qreal launchQuoteLineSpacing READ launchQuoteLineSpacing CONSTANT)
    Q_PROPERTY(QList<qreal> bottomCoverAlphas READ bottomCoverAlphas CONSTANT)
    Q_PROPERTY(QList<qreal> bottomCoverLocations READ bottomCoverLocations CONSTANT)
    Q_PROPERTY(QList<qreal> topCoverAlphas READ topCoverAlphas CONSTANT)
public:
    using QObject::QObject;

    // Text over pictures.
    static QColor ostrelFontColorWhite() { return QColor(0xFA, 0xFA, 0xFA); }
    // The shadow under text over pictures.
    static QColor ostrelShadowColor() { return QColor(0, 0, 0, 0x66); }
    // The brand green.
    static QColor ostrelGreen() { return QColor(0x3C, 0xB3, 0x71); }
    // Secondary text and hairline frames on light backgrounds: a mid grey, #8C8C8C.
    static QColor ostrelFontColorSummary() { return QColor(0x8C, 0x8C, 0x8C); }

    // Plain white and black: sheets, cards, text on dark boxes; the backdrop that dims a screen.
    static QColor ostrelWhite() { return QColor(0xFF, 0xFF, 0xFF); }
    static QColor ostrelBlack() { return QColor(0, 0, 0); }
    // Text on white: titles and buttons (#333333), captions under icons (#888888), notes and
    // placeholders (#8E8E93), body text (#555555), asides such as an author line (#666666).
    static QColor ostrelFontColorTitle() { return QColor(0x33, 0x33, 0x33); }
    static QColor ostrelFontColorCaption() { return QColor(0x88, 0x88, 0x88); }
    static QColor ostrelFontColorSecondary() { return QColor(0x8E, 0x8E, 0x93); }
    static QColor ostrelFontColorBody() { return QColor(0x55, 0x55, 0x55); }
    static QColor ostrelFontColorAside() { return QColor(0x66, 0x66, 0x66); }
    // The sentence on a launch screen, under its picture: #484848.
    static QColor ostrelFontColorLaunchQuote() { return QColor(0x48, 0x48, 0x48); }
    // What went wrong.
    static QColor ostrelErrorColor() { return QColor(0xC0, 0x39, 0x2B); }
    // A white bar while pressed.
    static QColor ostrelPressedColor() { return QColor(0xEC, 0xEC, 0xEE); }
    // Hairlines between groups of a sheet, and the frame of a card.
    static QColor ostrelSeparatorColor() { return QColor(0xE5, 0xE5, 0xE8); }
    // The hairline at the foot of a navigation bar.
    static QColor ostrelHairlineColor() { return QColor(0xD6, 0xD6, 0xD9); }
    static QColor ostrelFrameColor() { return QColor(0xE2, 0xE2, 0xE6); }
    // The band between groups of a sheet, and the ground under cards.
    static QColor ostrelGroupColor() { return QColor(0xF2, 0xF2, 0xF4); }
    static QColor ostrelBackgroundColor() { return QColor(0xF4, 0xF4, 0xF4); }
    // The box of a transient message.
    static QColor ostrelHUDColor() { return QColor::fromRgbF(0, 0, 0, 0.78f); }
    // A light veil behind a button over a picture.
    static QColor ostrelVeilColor() { return QColor::fromRgbF(1, 1, 1, 0.6f); }
    // The ground of a small button over a picture whose title is ostrelFontColorSummary:
    // near-black and opaque, so that the title reads at 5.2:1 whatever the picture (a grey
    // title on a light veil over a light picture reads at 1.5:1).
    static QColor ostrelButtonOnPictureColor() { return QColor(0x1A, 0x1A, 0x1A); }
    // The ring round the control that has the keyboard: the brand green, seen on pictures and
    // on white sheets alike.
    static QColor ostrelFocusColor() { return ostrelGreen(); }

    // One family for Latin and Chinese alike, so that mixed labels sit on one line.
    static QString fontFamily() { return QStringLiteral("Noto Sans CJK SC"); }

    // Presented motion, in ms: the quote page's text cover sliding away and back, a sheet
    // rising or falling, a fade, a screen sliding onto or off a stack, a navigation bar sliding
    // out of view and back.
    static constexpr int CoverSlideDuration = 250;
    static constexpr int SheetDuration = 250;
    static constexpr int FadeDuration = 250;
    static int coverSlideDuration() { return CoverSlideDuration; }
    static int sheetDuration() { return SheetDuration; }
    static int fadeDuration() { return FadeDuration; }
    static int stackTransitionDuration() { return 300; }
    static int navigationBarDuration() { return 250; }

    // The quote page's covers: black gradients, top to bottom, one alpha a stop. The bottom
    // cover's stops sit at the given fractions of its height (the last alpha holds below the
    // last stop); the top cover's are spread evenly.
    static QList<qreal> bottomCoverAlphas() { return {0, 0.2, 0.3, 0.5}; }
    static QList<qreal> bottomCoverLocations() { return {0, 0.33, 0.45, 0.8}; }
    static QList<qreal> topCoverAlphas() { return {0.6, 0.5, 0.3, 0.15, 0}; }

    // Font sizes, in pixels.
    // The tick or cross of a transient message.
    static int hudSymbolFontSize() { return 30; }
    // A transient message's text.
    static int hudFontSize() { return 15; }
    // The navigation bar's title.
    static int navigationTitleFontSize() { return 17; }
    // The share panel's title.
    static int shareTitleFontSize() { return 15; }
    // The names under the share panel's icons.
    static int shareCaptionFontSize() { return 12; }
    // The share panel's cancel bar.
    static int shareBarFontSize() { return 16; }
    // The launch screen's button.
    static int launchButtonFontSize() { return 13; }
    // The launch screen's sentence on a phone.
    static int launchQuoteFontSize() { return 16; }
    // The launch screen's sentence on a tablet.
    static int launchQuotePadFontSize() { return 24; }
    // A quote page's day of the month.
    static int quoteDayFontSize() { return 50; }
    // A quote page's month and year.
    static int quoteMonthFontSize() { return 20; }
    // A quote page's sentence.
    static int quoteContentFontSize() { return 16; }
    // A quote page's translation.
    static int quoteTranslationFontSize() { return 15; }
    // A quote page's author.
    static int quoteAuthorFontSize() { return 15; }
    // The ground of the day gallery, seen between pages and behind the one being left.
    static QColor galleryBackgroundColor() { return QColor(0, 0, 0); }
    // How dark the backdrop under a sheet gets: the opacity of its black.
    static qreal dimmerOpacity() { return 0.4; }
    // The space between the lines of the launch screen's sentence.
    static qreal launchQuoteLineSpacing() { return 5.0; }
};
