#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPair>
#include <QSet>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>

class QTcpServer;
class QTcpSocket;

/// The answer of a route. The length of the body is sent as a header in any case.
struct HttpAnswer
{
    int status = 200;
    QByteArray body = {};
    QList<QPair<QByteArray, QByteArray>> headers = {};
};

/// An HTTP/1.1 server on the loopback interface for the requests of one test, driven by the event loop of its thread.
///
/// Routes are paths without a query; whatever has no route is answered with status 404. Requests must not have a body.
class HttpServer : public QObject
{
    Q_OBJECT

public:
    enum class Scheme { Plain, Secure };

    /// Fails the program when there is no free port.
    explicit HttpServer(Scheme scheme = Scheme::Plain);
    ~HttpServer() override;

    /// Makes the downloads of this program trust secure servers of this class. False where there is no TLS.
    [[nodiscard]] static bool trustSecureServers();

    /// The path may have a query, and is already percent-encoded.
    [[nodiscard]] QUrl url(const QString &path) const;

    void serve(const QString &path, const HttpAnswer &answer);
    void redirect(const QString &path, const QUrl &target); ///< with status 302

    /// Closes the connection instead of answering.
    void drop(const QString &path);

    /// The function writes the raw answer; the request stays open until the client ends it.
    /// The socket is deleted when the connection ends.
    void script(const QString &path, std::function<void(QTcpSocket *)> write);

    /// Delays the answers until release().
    void hold(const QString &path);

    /// Answers the waiting requests, and later ones at once.
    void release(const QString &path);

    /// The number of requests for the path.
    [[nodiscard]] int requests(const QString &path) const;

    /// The targets of all requests as they were sent, query included, in the order of their arrival.
    [[nodiscard]] QStringList requests() const;

    /// The header lines of the last request.
    [[nodiscard]] QByteArray lastHeaders() const { return headers; }

    /// Requests that were neither answered nor cancelled by the client.
    [[nodiscard]] int openRequests() const;
    [[nodiscard]] int mostOpenRequests() const; ///< the highest number of openRequests() ever

private:
    struct Route
    {
        HttpAnswer answer;
        bool drops = false;
        std::function<void(QTcpSocket *)> script = {};
    };

    struct Request
    {
        QString path;
        QTcpSocket *socket = nullptr;
    };

    void acceptConnections();
    void read(QTcpSocket *socket);
    void answer(const Request &request);

    QHash<QString, Route> routes;
    QSet<QString> delayed;
    QList<Request> open;
    QStringList seen;
    QByteArray headers;
    int mostOpen = 0;
    Scheme scheme;
    std::unique_ptr<QTcpServer> server; // destroyed first, as its sockets still change the lists above
};

/// A URL on the loopback interface where nobody listens.
[[nodiscard]] QUrl unreachableUrl();
