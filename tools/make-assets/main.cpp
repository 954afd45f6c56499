// ostquote-make-assets: draws the images of OstQuote and OstFoundation with QPainter.
//
//   ostquote-make-assets <output-dir>
//
// Writes, each at 1x, 2x and 3x with Qt's high-DPI names (name.png, name@2x.png, name@3x.png):
//   launch_ostrel_logo.png    112x32 pt, green mark + dark-grey wordmark, for the launch
//                             screen's light footer
//   ostrel_logo_quote.png     96x28 pt, white mark + wordmark with a soft shadow, for the
//                             quote viewer's corner over a photo
//   default_launch_image.jpg  375x560 pt dawn landscape behind the launch screen
//
//   ostquote-make-assets --foundation <output-dir>
//
// writes OstFoundation's images instead, at the same three scales:
//   ostrel_navigation_back[_highlight].png      22x22 pt white back chevron with a soft
//                                               shadow (pressed: half as bright), for
//                                               buttons over pictures
//   ostrel_navigation_bar_back[_highlight].png  22x22 pt dark chevron for the white bar
//   ostrel_share_bar[_highlight].png            22x22 pt white "share" box and arrow
//   share_<target>[_highlight].png              60x60 pt round share panel icons: weibo,
//                                               qq, qzone, mail, douban, twitter,
//                                               save_image, copy_image, copy_link, copy_text,
//                                               more,
//                                               browser, email (pressed: a darker disc)
//
// Every scale is drawn from the same vector description with the painter scaled, so the
// 3x files are as sharp as the 1x ones. There is no unseeded randomness: running the tool
// twice gives the same bytes.

#include "Images.h"

#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>
#include <QStringList>
#include <QTextStream>

using namespace assets;

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);

    QStringList args = QCoreApplication::arguments();
    const bool foundation = args.size() == 3 && args.at(1) == QLatin1String("--foundation");
    if (foundation)
        args.removeAt(1);
    if (args.size() != 2 || args.at(1).startsWith('-')) {
        QTextStream(stderr) << "usage: ostquote-make-assets <output-dir>\n"
                               "       ostquote-make-assets --foundation <output-dir>\n";
        return 2;
    }
    QDir out(args.at(1));
    if (!out.exists() && !QDir().mkpath(out.path())) {
        QTextStream(stderr) << "error: cannot create " << out.path() << '\n';
        return 1;
    }

    Fonts fonts;
    fonts.sansBold = loadFamily(QStringLiteral("/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf"),
                                fonts.sansBold);

    QTextStream log(stdout);
    if (foundation)
        return writeFoundationImages(out, fonts, log) ? 0 : 1;

    bool ok = true;
    for (int scale = 1; scale <= 3; ++scale) {
        {
            const QString file = out.filePath(scaledName("launch_ostrel_logo", "png", scale));
            ok = savePng(renderLaunchLogo(fonts, scale), file) && ok;
            log << file << '\n';
        }
        {
            const QString file = out.filePath(scaledName("ostrel_logo_quote", "png", scale));
            ok = savePng(renderQuoteLogo(fonts, scale), file) && ok;
            log << file << '\n';
        }
        {
            const QString file = out.filePath(scaledName("default_launch_image", "jpg", scale));
            ok = saveJpeg(renderLaunchImage(scale), file, 88) && ok;
            log << file << '\n';
        }
    }
    return ok ? 0 : 1;
}
