#include "SharePage.h"

#include "QuoteCatalog.h"

#include <QLocale>

namespace SharePage {

QString escaped(const QString &text)
{
    QString out;
    out.reserve(text.size() + text.size() / 8);
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'&': out += QLatin1String("&amp;"); break;
        case u'<': out += QLatin1String("&lt;"); break;
        case u'>': out += QLatin1String("&gt;"); break;
        case u'"': out += QLatin1String("&quot;"); break;
        case u'\'': out += QLatin1String("&#39;"); break;
        default: out += c;
        }
    }
    return out;
}

std::string html(const DayQuote &quote, const QString &publicBase)
{
    const QString pageURL = escaped(QuoteCatalog::sharePageURL(publicBase, quote.key));
    const QString pictureURL = escaped(QuoteCatalog::pictureURL(publicBase, quote.key));
    const QString cardURL = escaped(QuoteCatalog::shareCardURL(publicBase, quote.key));
    const QString content = escaped(quote.content);
    const QString author = escaped(quote.author);
    const QString translation = escaped(quote.translation);
    const QString longDate = QLocale::c().toString(quote.day, QStringLiteral("d MMMM yyyy"));

    QString page;
    page.reserve(3000);
    page += QStringLiteral(
        "<!DOCTYPE html>\n"
        "<html lang=\"en\">\n"
        "<head>\n"
        "<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n");
    page += QStringLiteral("<title>%1 — %2</title>\n").arg(content, author);
    page += QStringLiteral("<meta name=\"description\" content=\"%1\">\n").arg(translation);
    page += QStringLiteral("<link rel=\"canonical\" href=\"%1\">\n").arg(pageURL);
    page += QStringLiteral("<meta property=\"og:type\" content=\"article\">\n");
    page += QStringLiteral("<meta property=\"og:site_name\" content=\"OstQuote\">\n");
    page += QStringLiteral("<meta property=\"og:title\" content=\"%1 — %2\">\n").arg(content, author);
    page += QStringLiteral("<meta property=\"og:description\" content=\"%1\">\n").arg(translation);
    page += QStringLiteral("<meta property=\"og:url\" content=\"%1\">\n").arg(pageURL);
    page += QStringLiteral("<meta property=\"og:image\" content=\"%1\">\n").arg(cardURL);
    page += QStringLiteral("<meta property=\"og:image:type\" content=\"image/jpeg\">\n"
                           "<meta property=\"og:image:width\" content=\"750\">\n"
                           "<meta property=\"og:image:height\" content=\"750\">\n");
    page += QStringLiteral("<meta name=\"twitter:card\" content=\"summary_large_image\">\n");
    page += QStringLiteral(
        "<style>\n"
        "html,body{margin:0;height:100%;background:#0d1220;color:#fff}\n"
        "body{font-family:\"DejaVu Serif\",Georgia,serif;display:flex;justify-content:center}\n"
        "main{position:relative;width:100%;max-width:480px;min-height:100%;overflow:hidden}\n"
        "main>img{position:absolute;inset:0;width:100%;height:100%;object-fit:cover}\n"
        "main::after{content:\"\";position:absolute;inset:0;"
        "background:linear-gradient(rgba(0,0,0,.55),rgba(0,0,0,.05) 35%,rgba(0,0,0,.05) 55%,rgba(0,0,0,.7))}\n"
        "article{position:relative;z-index:1;padding:12vh 28px 40px}\n"
        "time{font:14px/1.4 \"DejaVu Sans\",sans-serif;letter-spacing:.08em;text-transform:uppercase;opacity:.85}\n"
        "blockquote{margin:18px 0 0}\n"
        "blockquote p{font-size:24px;line-height:1.45;margin:0 0 14px}\n"
        "blockquote p[lang|=zh]{font:19px/1.6 \"Noto Serif CJK SC\",\"Noto Sans CJK SC\",serif}\n"
        "cite{display:block;font-style:normal;font-size:16px;opacity:.9}\n"
        "</style>\n"
        "</head>\n"
        "<body>\n"
        "<main>\n");
    page += QStringLiteral("<img src=\"%1\" width=\"750\" height=\"1334\" alt=\"\">\n").arg(pictureURL);
    page += QStringLiteral("<article>\n<time datetime=\"%1\">%2</time>\n").arg(quote.key, longDate);
    page += QStringLiteral("<blockquote>\n<p lang=\"en\">%1</p>\n<p lang=\"zh-Hans\">%2</p>\n<cite>— %3</cite>\n"
                           "</blockquote>\n")
                .arg(content, translation, author);
    page += QStringLiteral("</article>\n</main>\n</body>\n</html>\n");
    return page.toStdString();
}

} // namespace SharePage
