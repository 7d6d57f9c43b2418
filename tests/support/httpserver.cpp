#include "httpserver.h"

#include <QFile>
#include <QHostAddress>
#include <QSsl>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QSslSocket>
#include <QTcpServer>
#include <QTcpSocket>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QByteArray END_OF_HEADERS = QByteArrayLiteral("\r\n\r\n");

QUrl loopbackUrl(const char *scheme, quint16 port, const QString &path)
{
    return QUrl(u"%1://127.0.0.1:%2"_s.arg(QLatin1String(scheme)).arg(port) + path);
}

/// For the loopback address, self-signed, valid until 2119, with its key.
QByteArray certificate()
{
    QFile file(QStringLiteral(TEST_SUPPORT_DIR "/loopback.pem"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("No certificate");
    return file.readAll();
}

std::unique_ptr<QTcpServer> makeServer(HttpServer::Scheme scheme)
{
    if (scheme == HttpServer::Scheme::Plain)
        return std::make_unique<QTcpServer>();

    const QByteArray pem = certificate();
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(QSslCertificate(pem));
    configuration.setPrivateKey(QSslKey(pem, QSsl::Ec));
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    auto server = std::make_unique<QSslServer>();
    server->setSslConfiguration(configuration);
    return server;
}

QString withoutQuery(const QString &target)
{
    return target.section(u'?', 0, 0);
}

} // namespace

HttpServer::HttpServer(Scheme withScheme) : scheme(withScheme), server(makeServer(withScheme))
{
    if (!server->listen(QHostAddress::LocalHost))
        qFatal("No port to listen on");
    connect(server.get(), &QTcpServer::pendingConnectionAvailable, this, &HttpServer::acceptConnections);
}

HttpServer::~HttpServer() = default;

bool HttpServer::trustSecureServers()
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.addCaCertificate(QSslCertificate(certificate()));
    QSslConfiguration::setDefaultConfiguration(configuration);
    return QSslSocket::supportsSsl();
}

QUrl HttpServer::url(const QString &path) const
{
    return loopbackUrl(scheme == Scheme::Secure ? "https" : "http", server->serverPort(), path);
}

void HttpServer::serve(const QString &path, const HttpAnswer &answer)
{
    routes.insert(path, {answer});
}

void HttpServer::redirect(const QString &path, const QUrl &target)
{
    serve(path, {.status = 302, .headers = {{"Location", target.toEncoded()}}});
}

void HttpServer::drop(const QString &path)
{
    routes.insert(path, {.answer = {}, .drops = true});
}

void HttpServer::script(const QString &path, std::function<void(QTcpSocket *)> write)
{
    routes.insert(path, {.answer = {}, .script = std::move(write)});
}

void HttpServer::hold(const QString &path)
{
    delayed.insert(path);
}

void HttpServer::release(const QString &path)
{
    delayed.remove(path);
    const QList<Request> waiting = open;
    for (const Request &request : waiting) {
        if (request.path == path)
            answer(request);
    }
}

int HttpServer::requests(const QString &path) const
{
    return static_cast<int>(
        std::count_if(seen.begin(), seen.end(), [&](const QString &target) { return withoutQuery(target) == path; }));
}

QStringList HttpServer::requests() const
{
    return seen;
}

int HttpServer::openRequests() const
{
    return static_cast<int>(open.size());
}

int HttpServer::mostOpenRequests() const
{
    return mostOpen;
}

void HttpServer::acceptConnections()
{
    while (QTcpSocket *socket = server->nextPendingConnection()) {
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            open.removeIf([socket](const Request &request) { return request.socket == socket; });
            socket->deleteLater();
        });
    }
}

void HttpServer::read(QTcpSocket *socket)
{
    while (socket->isOpen() && socket->peek(socket->bytesAvailable()).contains(END_OF_HEADERS)) {
        const QString target = QString::fromLatin1(socket->readLine().split(' ').value(1));
        headers.clear();
        for (QByteArray line = socket->readLine(); line != "\r\n"; line = socket->readLine())
            headers += line;

        const Request request{withoutQuery(target), socket};
        seen.append(target);
        open.append(request);
        mostOpen = std::max(mostOpen, openRequests());
        if (!delayed.contains(request.path))
            answer(request);
    }
}

void HttpServer::answer(const Request &request)
{
    const Route route = routes.value(request.path, {.answer = {.status = 404}});
    if (route.script) {
        route.script(request.socket);
        return;
    }
    open.removeIf([&](const Request &other) { return other.socket == request.socket; });

    if (route.drops) {
        request.socket->abort();
        return;
    }
    QByteArray head = "HTTP/1.1 " + QByteArray::number(route.answer.status) + " Status\r\n";
    head += "Content-Length: " + QByteArray::number(route.answer.body.size()) + "\r\n";
    for (const auto &[name, value] : route.answer.headers)
        head += name + ": " + value + "\r\n";
    request.socket->write(head + "\r\n" + route.answer.body);
}

QUrl unreachableUrl()
{
    QTcpServer closed;
    if (!closed.listen(QHostAddress::LocalHost))
        qFatal("No port to listen on");
    return loopbackUrl("http", closed.serverPort(), u"/page"_s);
}
