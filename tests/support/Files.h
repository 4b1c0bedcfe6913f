#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

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

/// A test that works in a folder of its own; names are relative to it.
class FolderTest : public QObject
{
protected:
    /// Starts again with these folders and nothing else.
    void newFolder(const QStringList &folders = {})
    {
        folder = std::make_unique<QTemporaryDir>();
        for (const QString &name : folders)
            QVERIFY(QDir(folder->path()).mkpath(name));
    }
    QString path(const QString &name) const { return folder->filePath(name); }
    QStringList disk(const QString &name) const
    {
        return QDir(path(name)).entryList(QDir::Files, QDir::Name);
    }
    void write(const QString &name, const QByteArray &content) const
    {
        QVERIFY(Files::write(path(name), content));
    }
    QByteArray read(const QString &name) const { return Files::read(path(name)); }
    /// The lines of a text in an order of their own, whatever ends them.
    QStringList lines(const QString &name) const
    {
        QStringList lines = QString::fromUtf8(read(name)).remove('\r').split('\n', Qt::SkipEmptyParts);
        lines.sort();
        return lines;
    }

    std::unique_ptr<QTemporaryDir> folder;
};
