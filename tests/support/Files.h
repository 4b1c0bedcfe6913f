#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// Whole files at once, for the tests.
namespace Files {

/// False if not everything was written.
inline bool write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

inline QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

} // namespace Files
