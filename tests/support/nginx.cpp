#include "nginx.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QHostAddress>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>

using namespace Qt::StringLiterals;

namespace {

constexpr int PATIENCE = 20'000; // milliseconds

} // namespace

quint16 freePort()
{
    QTcpServer server;
    if (!server.listen(QHostAddress::LocalHost))
        qFatal("No port to listen on");
    return server.serverPort();
}

Nginx::Nginx(const QString &root) : rootFolder(root), port(freePort()) { }

Nginx::~Nginx()
{
    process.terminate();
    process.waitForFinished(PATIENCE);
}

QString Nginx::program()
{
    return QStandardPaths::findExecutable(u"nginx"_s, {u"/usr/sbin"_s, u"/usr/bin"_s});
}

bool Nginx::start()
{
    // The superuser's workers could not read the folder of a test as another user.
    QString configuration = QFileInfo(folder.path()).ownerId() == 0 ? u"user root;\n"_s : QString();
    configuration += uR"(daemon off;
pid "%1/pid";
error_log "%1/error.log";
events { }
http {
    include /etc/nginx/mime.types;
    default_type application/octet-stream;
    access_log off;
    client_body_temp_path "%1/temp"; proxy_temp_path "%1/temp"; fastcgi_temp_path "%1/temp";
    uwsgi_temp_path "%1/temp"; scgi_temp_path "%1/temp";
    server {
        listen 127.0.0.1:%2;
        location / { root "%3"; }
    }
}
)"_s.arg(folder.path(), QString::number(port), rootFolder);
    folder.write(u"nginx.conf"_s, configuration.toUtf8());
    process.start(program(), {u"-e"_s, folder.path(u"error.log"_s), u"-c"_s, folder.path(u"nginx.conf"_s)});

    QElapsedTimer time;
    time.start();
    while (time.elapsed() < PATIENCE) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
        if (socket.waitForConnected(100))
            return true;
        if (process.waitForFinished(50))
            return false;
    }
    return false;
}

QString Nginx::url() const
{
    return u"http://127.0.0.1:%1/"_s.arg(port);
}
