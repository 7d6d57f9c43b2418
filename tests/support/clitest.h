#pragma once

#include "cli.h"
#include "windowtest.h"

inline const QString URL = QStringLiteral("https://apps.example.org/");
inline const QByteArray CLOCK = "{\"en\":\"Clock\"};Ann;1.0;674;05-03-2024;{\"en\":\"en.html\"};Clock;icon.png;5.03\n";

/// Base of the tests of the command.
class CliTest : public WindowTest
{
protected:
    [[nodiscard]] QString project() const { return folder->path(QStringLiteral("project")); }

    /// A project with one app, without findings unless the line has some.
    void makeClock(const QByteArray &line = CLOCK)
    {
        folder->write(QStringLiteral("project/Clock/main.lua"), "abc");
        folder->write(QStringLiteral("project/en.html"), "<p>Clock</p>");
        folder->write(QStringLiteral("project/icon.png"), "\x89PNG\r\n\x1a\n");
        folder->write(QStringLiteral("project/Apps.csv"), HEADER + line);
    }

    static QString document(const QString &path)
    {
        return QString::fromUtf8(readFile(QStringLiteral(CATALIST_SOURCE_DIR "/") + path));
    }

    static QString example() { return QStringLiteral(CATALIST_SOURCE_DIR "/examples/catalogue"); }
};
