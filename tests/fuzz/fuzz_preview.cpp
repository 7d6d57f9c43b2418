// Shows any bytes as the HTML of a description, lays them out, and renders them again.

#include "viewer/simplewebviewer.h"

#include <QApplication>
#include <QFile>
#include <QNetworkProxy>

#include <array>
#include <cstdint>

using namespace Qt::StringLiterals;

namespace {

/// Never destroyed, as the order of destruction at the end of the process is unknown.
SimpleWebViewer *makeViewer()
{
    static int argc = 1;
    static std::array<char, 13> name{"fuzz_preview"};
    static std::array<char *, 2> argv{name.data(), nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static const auto *application = new QApplication(argc, argv.data());
    Q_UNUSED(application)
    // All downloads fail at a closed port of this machine.
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::HttpProxy, u"127.0.0.1"_s, 1));

    auto *viewer = new SimpleWebViewer;
    QFile css(u":/Resources/Resources/storefrontHtml.css"_s);
    if (!css.open(QIODevice::ReadOnly))
        qFatal("No style sheet");
    viewer->document()->setDefaultStyleSheet(QString::fromUtf8(css.readAll()));
    viewer->setSearchPaths({u"file:////nonexistent"_s});
    viewer->resize(400, 300);
    viewer->show();
    return viewer;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static SimpleWebViewer *const view = makeViewer();
    view->setHtml(QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));
    view->grab();
    view->reload();
    QApplication::processEvents();
    view->abort();
    view->clear();
    return 0;
}
