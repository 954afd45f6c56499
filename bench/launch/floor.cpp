// The anchor of the launch benchmark: the smallest Qt Quick program that shows what the
// launch screen shows, one sentence under one picture, both read from local files, in a
// QQuickView of the same size.
//
//   bench-launch-floor <sentence file> <picture file> [--stack] [--stages]
//
// With --stack the two stand as the first item of a StackView (Qt Quick Controls), as in a
// Qt Quick app that navigates with one.
// At the first frameSwapped whose frame shows the sentence and the loaded picture it prints
// "frame <CLOCK_MONOTONIC ns> <sentence>" (with --stages, the moments main() began and the
// window was shown appended) and exits at once.

#include "MonotonicClock.h"

#include <QFile>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickView>
#include <QUrl>

#include <cstdio>
#include <ctime>
#include <unistd.h>

int main(int argc, char *argv[])
{
    const long long mainAt = monotonicNs();
    QGuiApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() < 3)
        return 2;
    const bool stages = arguments.contains(QStringLiteral("--stages"));
    QFile sentenceFile(arguments.at(1));
    if (!sentenceFile.open(QIODevice::ReadOnly))
        return 2;
    const QString sentence = QString::fromUtf8(sentenceFile.readAll());

    QQuickView view;
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setInitialProperties({{QStringLiteral("sentence"), sentence},
                               {QStringLiteral("picture"), QUrl::fromLocalFile(arguments.at(2))}});
    view.setSource(QUrl(arguments.contains(QStringLiteral("--stack")) ? QStringLiteral("qrc:/LaunchFloor/FloorOnStack.qml")
                                                                       : QStringLiteral("qrc:/LaunchFloor/Floor.qml")));
    view.resize(375, 667);
    QQuickItem *root = view.rootObject();
    if (!root)
        return 2;
    auto *picture = root->property("pictureItem").value<QQuickItem *>();
    auto *text = root->property("sentenceItem").value<QQuickItem *>();

    bool shownInSync = false;
    QObject::connect(&view, &QQuickWindow::beforeSynchronizing, root, [&]() {
        shownInSync = text->property("text").toString() == sentence && picture->property("status").toInt() == 1;
    }, Qt::DirectConnection);
    QObject::connect(&view, &QQuickWindow::frameSwapped, root, [&]() {
        if (!shownInSync)
            return;
        std::printf("frame %lld %s", monotonicNs(), qPrintable(sentence));
        if (stages)
            std::printf("\tmain %lld", mainAt);
        std::printf("\n");
        std::fflush(stdout);
        _exit(0);
    }, Qt::DirectConnection);
    view.show();
    return app.exec();
}
