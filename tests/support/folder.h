#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/// A temporary folder, and functions for the files in it. Paths are relative to it.
class Folder
{
public:
    Folder();

    [[nodiscard]] QString path() const; ///< canonical
    [[nodiscard]] QString path(const QString &relative) const;
    [[nodiscard]] bool exists(const QString &relative) const;

    /// Makes the parent folders; fails the program when the file cannot be written.
    void write(const QString &relative, const QByteArray &content) const;
    void makeFolder(const QString &relative) const;
    void link(const QString &target, const QString &relative) const;
    void makePipe(const QString &relative) const; ///< no effect on other systems than Unix

    /// Null when there is no such file.
    [[nodiscard]] QByteArray read(const QString &relative) const;

    /// The names of everything in it, hidden files too.
    [[nodiscard]] QStringList entries() const;

private:
    QTemporaryDir folder;
};

/// Null when there is no such file, or when it cannot be read.
[[nodiscard]] QByteArray readFile(const QString &path);

/// Copies the files of a folder; false when something could not be copied.
[[nodiscard]] bool copyTree(const QString &from, const QString &to);

/// Gives up the rights of the superuser during its lifetime. No effect for other users, or on other systems than Linux.
/// The files of the test must be open to everybody meanwhile, as a Folder is.
class OrdinaryUser
{
public:
    OrdinaryUser();
    ~OrdinaryUser();
    Q_DISABLE_COPY_MOVE(OrdinaryUser)
};
