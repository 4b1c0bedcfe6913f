#pragma once

#include <QtTest>

#include <filesystem>
#include <memory>

/// How long what has to happen is waited for, milliseconds: a machine that is slow, or busy, is no failure.
constexpr int patience = 60000;
#undef QTRY_VERIFY
#define QTRY_VERIFY(expression) QTRY_VERIFY_WITH_TIMEOUT(expression, patience)
#undef QTRY_COMPARE
#define QTRY_COMPARE(expression, expected) QTRY_COMPARE_WITH_TIMEOUT(expression, expected, patience)

#ifdef Q_OS_WIN
#    include <windows.h>
#endif

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

/// Makes a symbolic link. False, having said so, where a program cannot: Wine has none, Windows lets not
/// every user make them.
inline bool link(const QString &target, const QString &path)
{
#ifdef Q_OS_WIN
    DWORD flags = SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE;
    if (QFileInfo(QFileInfo(path).dir(), target).isDir())
        flags |= SYMBOLIC_LINK_FLAG_DIRECTORY;
    CreateSymbolicLinkW(QFileInfo(path).filesystemFilePath().c_str(),
                        QFileInfo(target).filesystemFilePath().c_str(), flags);
    const bool made = QFileInfo(path).isSymLink();
    if (!made)
        qWarning("Left out: links.");
    return made;
#else
    return QFile::link(target, path);
#endif
}

inline void hardLink(const QString &file, const QString &path)
{
    std::filesystem::create_hard_link(QFileInfo(file).filesystemFilePath(),
                                      QFileInfo(path).filesystemFilePath());
}

/// A name with what names may hold there: Windows takes few signs.
inline QString possibleName(QString name)
{
#ifdef Q_OS_WIN
    name.removeIf([](QChar sign) { return sign < u' ' || QStringLiteral("\"*/:<>?\\|").contains(sign); });
#endif
    return name;
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
    /// Hidden ones, too.
    QStringList all(const QString &name, const QStringList &patterns = {}) const
    {
        return QDir(path(name)).entryList(patterns, QDir::Files | QDir::Hidden, QDir::Name);
    }
    void write(const QString &name, const QByteArray &content) const
    {
        QVERIFY(Files::write(path(name), content));
    }
    QByteArray read(const QString &name) const { return Files::read(path(name)); }
    /// A path as it is from the folder.
    QString relative(const QString &path) const { return QDir(folder->path()).relativeFilePath(path); }
    /// The lines of a text in an order of their own, whatever ends them.
    QStringList lines(const QString &name) const
    {
        QStringList lines = QString::fromUtf8(read(name)).remove('\r').split('\n', Qt::SkipEmptyParts);
        lines.sort();
        return lines;
    }

    std::unique_ptr<QTemporaryDir> folder;
};
