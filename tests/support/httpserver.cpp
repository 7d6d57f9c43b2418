#include "httpserver.h"

#include <QTcpSocket>

#include <algorithm>
#include <utility>

namespace {

const QByteArray END_OF_HEADERS = QByteArrayLiteral("\r\n\r\n");

QUrl loopbackUrl(quint16 port, const QString &path)
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port) + path);
}

QString withoutQuery(const QString &target)
{
    return target.section(QLatin1Char('?'), 0, 0);
}

} // namespace

HttpServer::HttpServer()
{
    if (!server.listen(QHostAddress::LocalHost))
        qFatal("No port to listen on");
    connect(&server, &QTcpServer::newConnection, this, &HttpServer::welcome);
}

QUrl HttpServer::url(const QString &path) const
{
    return loopbackUrl(server.serverPort(), path);
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
    held.insert(path);
}

void HttpServer::release(const QString &path)
{
    held.remove(path);
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

void HttpServer::welcome()
{
    while (QTcpSocket *socket = server.nextPendingConnection()) {
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
        while (socket->readLine() != "\r\n") { }

        const Request request{withoutQuery(target), socket};
        seen.append(target);
        open.append(request);
        mostOpen = std::max(mostOpen, openRequests());
        if (!held.contains(request.path))
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
    return loopbackUrl(closed.serverPort(), QStringLiteral("/page"));
}
