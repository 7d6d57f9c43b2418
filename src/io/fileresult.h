#pragma once

#include <QString>

#include <utility>
#include <variant>

/// Why something could not be done with a file or a folder.
struct FileError
{
    QString path;
    QString reason; ///< the system's, where it gave one
    int line = 0; ///< in a text file, the first being 1; 0 for the file as a whole

    /// "PATH: REASON" or "PATH:LINE: REASON".
    [[nodiscard]] QString text() const;
};

/// The message of the system for an error number (errno).
[[nodiscard]] QString systemReason(int error);

/// A value, or why there is none. Without a type: done, or why not.
template <typename T = std::monostate> class FileResult
{
public:
    FileResult() = default;
    // Both convert, so that a function returns either as it is.
    FileResult(T value) : content(std::in_place_index<0>, std::move(value)) { }
    FileResult(FileError error) : content(std::in_place_index<1>, std::move(error)) { }

    explicit operator bool() const { return content.index() == 0; }

    [[nodiscard]] const T &operator*() const { return std::get<0>(content); }
    [[nodiscard]] const T *operator->() const { return &std::get<0>(content); }
    [[nodiscard]] const FileError &error() const { return std::get<1>(content); }

private:
    std::variant<T, FileError> content;
};
