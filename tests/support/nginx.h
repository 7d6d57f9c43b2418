#pragma once

#include "folder.h"

#include <QProcess>
#include <QString>

/// A port of the loopback interface that nobody listens on.
[[nodiscard]] quint16 freePort();

/// The web server nginx as the system has it, with a folder on the loopback interface.
class Nginx
{
public:
    explicit Nginx(const QString &root);
    ~Nginx();
    Q_DISABLE_COPY_MOVE(Nginx)

    /// Empty where there is no nginx.
    [[nodiscard]] static QString program();

    /// Waits until it answers; false when it does not.
    [[nodiscard]] bool start();

    [[nodiscard]] QString url() const; ///< with a "/" at its end
    [[nodiscard]] QByteArray log() const { return folder.read(QStringLiteral("error.log")); }

private:
    Folder folder; // of its own files
    QString rootFolder;
    quint16 port = 0;
    QProcess process;
};
