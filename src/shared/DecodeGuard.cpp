#include "shared/DecodeGuard.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QMutex>
#include <QReadWriteLock>
#include <QSaveFile>
#include <QtDebug>
#include <QUuid>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>

namespace {

constexpr int deathsUntilPassedOver = 2;
constexpr int slotCount = 32;
constexpr int slotBytes = 4096; // the longest path of Linux
constexpr int journalBytes = slotCount * slotBytes;
constexpr int aloneTimeoutMs = 1000;

/// What is known of a file that was being decoded when the program died.
struct Note
{
    qint64 size = 0;
    qint64 modified = 0; ///< milliseconds since 1970
    int deaths = 0;      ///< those at which it was alone in decoding
};

Note noteOf(const QFileInfo &info)
{
    return {info.size(), info.lastModified().toMSecsSinceEpoch(), 0};
}

bool sameFile(const Note &a, const Note &b)
{
    return a.size == b.size && a.modified == b.modified;
}

/// The paths that stand in a journal.
QStringList pathsIn(const QByteArray &journal)
{
    QStringList paths;
    for (int offset = 0; offset + slotBytes <= journal.size(); offset += slotBytes) {
        const char *const slot = journal.constData() + offset;
        const qsizetype length = qstrnlen(slot, slotBytes);
        if (length > 0 && length < slotBytes)
            paths.append(QString::fromUtf8(slot, length));
    }
    return paths;
}

class Guard
{
public:
    void start(const QString &folder);
    void finish();

    std::optional<Note> noteFor(const QString &path);
    void clear(const QString &path);
    int enter(const QString &path);
    void leave(int slot);

    QReadWriteLock decoding; ///< held alone by the decode of a suspect

private:
    void collectDeaths(const QDir &folder);
    void readNotes();
    void writeNotes() const;

    QMutex mutex;
    QString notesPath;
    QHash<QString, Note> notes;
    std::unique_ptr<QLockFile> lock;
    QFile journal;
    char *journalSlots = nullptr;
    std::array<bool, slotCount> takenSlots = {};
};

Guard &guard()
{
    static Guard instance;
    return instance;
}

void Guard::start(const QString &folder)
{
    finish();
    const QMutexLocker locker(&mutex);
    const QDir directory(folder);
    notesPath = directory.filePath(QStringLiteral("decoding-notes.json"));
    readNotes();
    collectDeaths(directory);

    const QString id = QUuid::createUuid().toString(QUuid::Id128);
    journal.setFileName(directory.filePath(QStringLiteral("decoding-%1.journal").arg(id)));
    lock = std::make_unique<QLockFile>(journal.fileName() + QStringLiteral(".lock"));
    lock->setStaleLockTime(0);
    if (!lock->tryLock(0) || !journal.open(QIODevice::ReadWrite))
        return;
    // Written in full: a hole in a mapped file is a crash once the disk is full.
    if (journal.write(QByteArray(journalBytes, 0)) != journalBytes || !journal.flush())
        return;
    journalSlots = reinterpret_cast<char *>(journal.map(0, journalBytes));
}

void Guard::finish()
{
    const QMutexLocker locker(&mutex);
    journalSlots = nullptr;
    takenSlots.fill(false);
    notes.clear();
    if (journal.isOpen()) {
        journal.close();
        journal.remove();
    }
    lock.reset();
}

void Guard::collectDeaths(const QDir &folder)
{
    const QStringList journals = folder.entryList({QStringLiteral("decoding-*.journal")}, QDir::Files);
    for (const QString &name : journals) {
        QFile orphan(folder.filePath(name));
        QLockFile owner(orphan.fileName() + QStringLiteral(".lock"));
        owner.setStaleLockTime(0);
        if (!owner.tryLock(0) || !orphan.open(QIODevice::ReadOnly))
            continue; // its instance is alive
        const QStringList paths = pathsIn(orphan.read(journalBytes));
        for (const QString &path : paths) {
            Note note = noteOf(QFileInfo(path));
            if (const auto known = notes.constFind(path); known != notes.cend() && sameFile(*known, note))
                note = *known;
            note.deaths += paths.size() == 1 ? 1 : 0;
            qDebug() << "DecodeGuard: " << path << note.deaths;
            notes.insert(path, note);
        }
        orphan.remove();
    }
    if (!journals.isEmpty())
        writeNotes();
}

void Guard::readNotes()
{
    QFile file(notesPath);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QJsonArray entries = QJsonDocument::fromJson(file.readAll()).array();
    for (const QJsonValue &entry : entries) {
        const Note note = {entry[QLatin1String("size")].toInteger(),
                           entry[QLatin1String("modified")].toInteger(),
                           entry[QLatin1String("deaths")].toInt()};
        notes.insert(entry[QLatin1String("path")].toString(), note);
    }
}

void Guard::writeNotes() const
{
    QJsonArray entries;
    for (auto note = notes.cbegin(); note != notes.cend(); ++note) {
        entries.append(QJsonObject{{QStringLiteral("path"), note.key()},
                                   {QStringLiteral("size"), note->size},
                                   {QStringLiteral("modified"), note->modified},
                                   {QStringLiteral("deaths"), note->deaths}});
    }
    QSaveFile file(notesPath);
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(entries).toJson()) < 0 || !file.commit())
        qDebug() << "DecodeGuard: " << file.errorString();
}

std::optional<Note> Guard::noteFor(const QString &path)
{
    const QMutexLocker locker(&mutex);
    const auto note = notes.constFind(path);
    return note == notes.cend() ? std::nullopt : std::optional(*note);
}

void Guard::clear(const QString &path)
{
    const QMutexLocker locker(&mutex);
    if (notes.remove(path))
        writeNotes();
}

int Guard::enter(const QString &path)
{
    const QByteArray text = path.toUtf8();
    if (text.size() >= slotBytes)
        return -1;
    const QMutexLocker locker(&mutex);
    if (!journalSlots)
        return -1;
    const auto slot = std::find(takenSlots.begin(), takenSlots.end(), false);
    if (slot == takenSlots.end())
        return -1;
    *slot = true;
    const int index = static_cast<int>(slot - takenSlots.begin());
    std::memcpy(journalSlots + index * slotBytes, text.constData(), static_cast<size_t>(text.size()) + 1);
    return index;
}

void Guard::leave(int slot)
{
    const QMutexLocker locker(&mutex);
    if (!journalSlots || slot < 0)
        return;
    journalSlots[slot * slotBytes] = 0;
    takenSlots[static_cast<size_t>(slot)] = false;
}

} // namespace

void DecodeGuard::start(const QString &folder)
{
    guard().start(folder);
}

void DecodeGuard::finish()
{
    guard().finish();
}

DecodeGuard::Decoding::Decoding(const QString &path)
    : path(path)
{
    if (const auto note = guard().noteFor(path)) {
        if (!sameFile(*note, noteOf(QFileInfo(path))))
            guard().clear(path);
        else if (note->deaths >= deathsUntilPassedOver)
            allowed = false;
        else
            lock = Lock::Alone;
    }
    if (!allowed)
        return;
    if (lock == Lock::Alone) {
        allowed = guard().decoding.tryLockForWrite(aloneTimeoutMs);
        if (!allowed) {
            lock = Lock::None;
            return;
        }
    } else {
        guard().decoding.lockForRead();
        lock = Lock::Shared;
    }
    slot = guard().enter(path);
}

DecodeGuard::Decoding::~Decoding()
{
    guard().leave(slot);
    if (lock != Lock::None)
        guard().decoding.unlock();
    if (lock == Lock::Alone)
        guard().clear(path);
}
