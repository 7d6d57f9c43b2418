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
inline constexpr qint64 LONGEST_PAUSE = 4000; // milliseconds; less than the timeout of a download

/// Watches the downloads of the preview.
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
        // The new child is not counted by running(): its constructor has not finished.
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

/// Measures the longest pause of the event loop.
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

/// Base of the tests of the preview: a description in the editor, and a server for its pictures.
class HostilePreviewTest : public WindowTest
{
protected:
    std::unique_ptr<HttpServer> server;
    std::unique_ptr<Downloads> downloads;
    std::unique_ptr<Pulse> pulse; ///< since the start of the test
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
        pulse = std::make_unique<Pulse>();
    }

    void cleanup() override
    {
        WindowTest::cleanup();
        pulse.reset();
        downloads.reset();
        server.reset();
    }

    void preview(const QString &html) { editor->setPlainText(html); }
    [[nodiscard]] bool hasPicture() const { return pixelsOf(*viewer, PICTURE_COLOUR) > 0; }

    void typeOn()
    {
        editor->moveCursor(QTextCursor::Start);
        type(editor, QStringLiteral("ok "));
        QVERIFY(editor->toPlainText().startsWith(QLatin1String("ok ")));
        QVERIFY(viewer->toPlainText().startsWith(QLatin1String("ok")));
    }

    void expectAlive(qint64 longestPause = LONGEST_PAUSE)
    {
        const int before = pulse->count();
        QTRY_VERIFY(pulse->count() > before + 2);
        QVERIFY2(pulse->longestPause() < longestPause, QByteArray::number(pulse->longestPause()).constData());
        QVERIFY(downloads->most() <= 5);
        QVERIFY(server->mostOpenRequests() <= 5);
        QVERIFY(window->isVisible());
    }
};
