#pragma once

#include <QFile>

/// A file of the user's that is read, or handed to one who reads it. It stands in nobody's way: on Windows,
/// too, it can be replaced, renamed and removed meanwhile, and what is read stays what it was. The program
/// reads pictures through nothing else.
class FileForReading : public QFile
{
public:
    /// Not open yet; the file need not be there.
    explicit FileForReading(const QString &path);

    /// Opens it for reading, and nothing else. False if that failed.
    [[nodiscard]] bool open(OpenMode mode = ReadOnly) override;

    /// The path, whose suffix tells Qt's readers which format to try first.
    [[nodiscard]] QString fileName() const override { return path; }

private:
    const QString path;
};
