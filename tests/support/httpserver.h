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

/// What a route answers. The length of the body is sent as a header by itself.
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

    /// Fails the program when no port is to be had.
    explicit HttpServer(Scheme scheme = Scheme::Plain);
    ~HttpServer() override;

    /// Makes the downloads of this program trust secure servers of this class. False where there is no TLS.
    [[nodiscard]] static bool trustSecureOnes();

    /// The path may carry a query and is taken as it is, percent encoding included.
    [[nodiscard]] QUrl url(const QString &path) const;

    void serve(const QString &path, const HttpAnswer &answer);
    void redirect(const QString &path, const QUrl &target); ///< with status 302

    /// Closes the connection instead of answering.
    void drop(const QString &path);

    /// Leaves the answer, down to its bytes, to the test; the request stays open until the client ends it.
    /// The socket goes when the connection ends.
    void script(const QString &path, std::function<void(QTcpSocket *)> write);

    /// Keeps the answers back until release(); a route that is never released never answers.
    void hold(const QString &path);

    /// Answers what waits for the path, and from now on at once.
    void release(const QString &path);

    /// How often the path was asked for.
    [[nodiscard]] int requests(const QString &path) const;

    /// The targets of all requests as they were sent, query included, in the order of their arrival.
    [[nodiscard]] QStringList requests() const;

    /// Requests that have neither been answered nor given up by the client.
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

    void welcome();
    void read(QTcpSocket *socket);
    void answer(const Request &request);

    QHash<QString, Route> routes;
    QSet<QString> held;
    QList<Request> open;
    QStringList seen;
    int mostOpen = 0;
    Scheme scheme;
    std::unique_ptr<QTcpServer> server; // goes first: its sockets still report their end to the lists above
};

/// A URL on the loopback interface where nobody listens.
[[nodiscard]] QUrl unreachableUrl();
