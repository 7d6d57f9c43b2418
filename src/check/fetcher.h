#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <functional>

namespace Check {

constexpr int HTTP_OK = 200;

/// What came of a request.
struct Answer
{
    int status = 0; ///< of HTTP
    QString failure; ///< why there is no whole answer; empty when there is one
    QString type; ///< the header Content-Type
    qint64 statedSize = -1; ///< of the body in bytes, by the header Content-Length; -1 for none
    bool isCut = false; ///< the body was longer than its receiver wanted
    bool isShort = false; ///< the body was shorter than its stated size
    QStringList redirects; ///< the URLs that were followed, encoded, in their order
};

/// Takes the answer to one request.
class Receiver
{
public:
    virtual ~Receiver() = default;

    /// Called before each try, of which only the last counts.
    virtual void begin() = 0;

    /// Takes a piece of a body with the status 200. False when the rest is not wanted.
    virtual bool receive(QByteArrayView piece) = 0;

    virtual void finish(const Answer &answer) = 0;
};

/// Fetches URLs of http and https, several at a time.
class Fetcher
{
public:
    virtual ~Fetcher() = default;

    /// Takes an encoded URL. The receiver must stay until it has finished.
    virtual void add(const QByteArray &url, Receiver *receiver) = 0;

    /// Fetches what was added, also by receivers, and returns when nothing is left. False when it was interrupted; the
    /// receivers that are left then do not finish.
    virtual bool run(const std::function<void()> &progress) = 0;
};

} // namespace Check
