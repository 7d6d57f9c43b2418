#pragma once

#include "httpserver.h"
#include "pictures.h"
#include "viewer/simplewebviewer.h"
#include "windowtest.h"

#include <QAbstractItemView>
#include <QChildEvent>
#include <QElapsedTimer>
#include <QListWidget>
#include <QNetworkReply>
#include <QPlainTextEdit>
#include <QTest>
#include <QTextCursor>
#include <QTimer>

#include <algorithm>
#include <memory>

inline constexpr QRgb PICTURE_COLOUR = 0xff12c832;
inline constexpr qint64 LONGEST_PAUSE = 4000; // in milliseconds; less than what a download is given

/// Knows what the preview has under way, and what became of it.
class Downloads : public QObject
{
public:
    Downloads() { qApp->installEventFilter(this); }

    [[nodiscard]] int running() const
    {
        if (!manager)
            return 0;
        const auto replies = manager->findChildren<QNetworkReply *>();
        return static_cast<int>(std::count_if(replies.begin(), replies.end(),
                                              [](const QNetworkReply *reply) { return reply->isRunning(); }));
    }

    [[nodiscard]] int most() const { return highest; }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *found = qobject_cast<QNetworkAccessManager *>(watched);
        if (event->type() != QEvent::ChildAdded || !found)
            return false;
        // The new one is not yet to be seen as what it is.
        highest = std::max(highest, running() + 1);
        if (manager != found) {
            manager = found;
            connect(found, &QNetworkAccessManager::finished, this,
                    [this](const QNetworkReply *reply) { ends.append(reply->error()); });
        }
        return false;
    }

    QList<QNetworkReply::NetworkError> ends;

private:
    QPointer<QNetworkAccessManager> manager;
    int highest = 0;
};

/// Beats as long as the event loop turns.
class Pulse : public QObject
{
public:
    Pulse()
    {
        connect(&timer, &QTimer::timeout, this, [this] {
            ++beats;
            longest = std::max(longest, sinceBeat.restart());
        });
        timer.start(20);
        sinceBeat.start();
    }

    [[nodiscard]] int count() const { return beats; }
    [[nodiscard]] qint64 longestPause() const { return std::max(longest, sinceBeat.elapsed()); }

private:
    QTimer timer;
    QElapsedTimer sinceBeat;
    int beats = 0;
    qint64 longest = 0;
};

/// What a test of the preview has in its hands: a description in the editor, and a server for what it shows.
class HostilePreviewTest : public WindowTest
{
protected:
    std::unique_ptr<HttpServer> server;
    std::unique_ptr<Downloads> downloads;
    QPlainTextEdit *editor = nullptr;
    SimpleWebViewer *viewer = nullptr;

    void init() override
    {
        WindowTest::init();
        server = std::make_unique<HttpServer>();
        downloads = std::make_unique<Downloads>();
        folder->write(QStringLiteral("Apps.csv"),
                      HEADER + "{\"en\":\"App\"};A;1.0;674;05-03-2024;{\"en\":\"en.html\"};;;5.03\n");
        folder->write(QStringLiteral("en.html"), "<p>text</p>");
        storeProject(folder->path(QStringLiteral("Apps.csv")));
        window = openWindow<MainWindow>();
        clickCell(child<QListWidget>(*window, "listApps"), 0);
        showTab(*window, "tabDescription");
        clickCell(child<QAbstractItemView>(*window, "tableWidget"), 0);
        editor = child<QPlainTextEdit>(*window, "descriptionEdit");
        viewer = child<SimpleWebViewer>(*window, "descriptionView");
        QCOMPARE(viewer->toPlainText(), QStringLiteral("text"));
    }

    void cleanup() override
    {
        WindowTest::cleanup();
        downloads.reset();
        server.reset();
    }

    void preview(const QString &html) { editor->setPlainText(html); }
    [[nodiscard]] bool showsPicture() const { return pixelsOf(*viewer, PICTURE_COLOUR) > 0; }

    void typeOn()
    {
        editor->moveCursor(QTextCursor::Start);
        type(editor, QStringLiteral("ok "));
        QVERIFY(editor->toPlainText().startsWith(QLatin1String("ok ")));
        QVERIFY(viewer->toPlainText().startsWith(QLatin1String("ok")));
    }

    void expectAlive(const Pulse &pulse, qint64 longestPause)
    {
        const int before = pulse.count();
        QTRY_VERIFY(pulse.count() > before + 2);
        QVERIFY2(pulse.longestPause() < longestPause, QByteArray::number(pulse.longestPause()).constData());
        QVERIFY(downloads->most() <= 5);
        QVERIFY(server->mostOpenRequests() <= 5);
        QVERIFY(window->isVisible());
    }
};
