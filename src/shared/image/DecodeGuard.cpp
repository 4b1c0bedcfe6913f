#include "shared/image/DecodeGuard.h"

#include "shared/platform/Platform.h"
#include "shared/threads/Guarded.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QSaveFile>
#include <QtDebug>
#include <QUuid>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <optional>

namespace {

constexpr int deathsUntilPassedOver = 2;
constexpr qsizetype slotCount = 32;
constexpr qsizetype slotBytes = 4224; // the longest path of Linux, two numbers, and the mark at the end
constexpr qsizetype journalBytes = slotCount * slotBytes;
// A suspect waits this long to be alone, and the others wait this long for it: one that hangs blocks nobody.
constexpr int longestAloneMs = 3000;

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

/// A slot's text: the file as it was, so that reading a journal looks at no drive that may be gone.
QByteArray slotText(const QString &path, const Note &note)
{
    return QByteArray::number(note.size) + ' ' + QByteArray::number(note.modified) + ' ' + path.toUtf8();
}

std::atomic<uchar *> mappedJournal = nullptr;
thread_local int slotInDecoding = -1;

/// Tells the journal that it is the calling thread's file at which the program dies. While it crashes.
void markCulprit()
{
    uchar *const journal = mappedJournal;
    if (journal && slotInDecoding >= 0)
        journal[(slotInDecoding + 1) * slotBytes - 1] = 1;
}

/// The files that stand in a journal, or the one at which the program crashed, if that is known.
QHash<QString, Note> filesIn(const QByteArray &journal)
{
    QHash<QString, Note> files;
    for (qsizetype offset = 0; offset + slotBytes <= journal.size(); offset += slotBytes) {
        const char *const slot = journal.constData() + offset;
        const QByteArray text(slot, static_cast<qsizetype>(qstrnlen(slot, slotBytes)));
        const qsizetype first = text.indexOf(' ');
        const qsizetype second = text.indexOf(' ', first + 1);
        if (first <= 0 || second <= 0)
            continue;
        const QString path = QString::fromUtf8(text.mid(second + 1));
        const Note note = {text.left(first).toLongLong(),
                           text.mid(first + 1, second - first - 1).toLongLong(), 0};
        if (slot[slotBytes - 1] != 0)
            return {{path, note}};
        files.insert(path, note);
    }
    return files;
}

/// Files that a death has put under suspicion, kept from run to run.
class Notes
{
public:
    void open(const QString &fileName)
    {
        path = fileName;
        notes = read();
    }

    std::optional<Note> of(const QString &file) const
    {
        const auto note = notes.constFind(file);
        return note == notes.cend() ? std::nullopt : std::optional(*note);
    }

    void remove(const QString &file)
    {
        // Another instance may have written since.
        notes = read();
        if (notes.remove(file))
            write();
    }

    void addDeath(const QHash<QString, Note> &files)
    {
        notes = read();
        for (auto file = files.cbegin(); file != files.cend(); ++file) {
            Note &note = notes[file.key()];
            if (!sameFile(note, *file))
                note = *file;
            note.deaths += files.size() == 1 ? 1 : 0;
            qDebug() << "DecodeGuard: " << file.key() << note.deaths;
        }
        write();
    }

private:
    QHash<QString, Note> read() const
    {
        QHash<QString, Note> found;
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return found;
        const QJsonArray entries = QJsonDocument::fromJson(file.readAll()).array();
        for (const auto &entry : entries) {
            found.insert(entry[QLatin1String("path")].toString(),
                         {entry[QLatin1String("size")].toInteger(),
                          entry[QLatin1String("modified")].toInteger(),
                          entry[QLatin1String("deaths")].toInt()});
        }
        return found;
    }

    void write() const
    {
        QJsonArray entries;
        for (auto note = notes.cbegin(); note != notes.cend(); ++note) {
            entries.append(QJsonObject{{QStringLiteral("path"), note.key()},
                                       {QStringLiteral("size"), note->size},
                                       {QStringLiteral("modified"), note->modified},
                                       {QStringLiteral("deaths"), note->deaths}});
        }
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(entries).toJson()) < 0
            || !file.commit())
            qDebug() << "DecodeGuard: " << file.errorString();
    }

    QString path;
    QHash<QString, Note> notes;
};

/// The files in decoding. What was written before the program died is in the file, since nothing is buffered.
class Journal
{
public:
    void open(const QString &fileName)
    {
        file.setFileName(fileName);
        owner = std::make_unique<QLockFile>(fileName + QStringLiteral(".lock"));
        owner->setStaleLockTime(0);
        if (!owner->tryLock(0) || !file.open(QIODevice::ReadWrite | QIODevice::Unbuffered))
            return;
        // In full, so that a disk that fills up later takes the entries all the same.
        usable = file.write(QByteArray(journalBytes, 0)) == journalBytes;
        if (usable)
            mappedJournal = file.map(0, journalBytes);
    }

    void close()
    {
        usable = false;
        if (uchar *const journal = mappedJournal.exchange(nullptr))
            file.unmap(journal);
        taken.fill(false);
        if (file.isOpen()) {
            file.close();
            file.remove();
        }
        owner.reset();
    }

    int enter(const QByteArray &text)
    {
        const auto slot = std::find(taken.begin(), taken.end(), false);
        if (!usable || slot == taken.end() || text.size() >= slotBytes - 1)
            return -1;
        *slot = true;
        const auto index = slot - taken.begin();
        write(index, text + '\0');
        return static_cast<int>(index);
    }

    void leave(int slot)
    {
        if (!usable || slot < 0)
            return;
        write(slot, QByteArray(1, '\0'));
        taken[static_cast<size_t>(slot)] = false;
    }

private:
    void write(qint64 slot, const QByteArray &text)
    {
        if (file.seek(slot * slotBytes))
            file.write(text);
    }

    std::unique_ptr<QLockFile> owner; ///< tells other instances that this one lives
    QFile file;
    bool usable = false;
    std::array<bool, slotCount> taken = {};
};

struct State
{
    Notes notes;
    Journal journal;
    int inFlight = 0;
    QDeadlineTimer aloneUntil; // a suspect has claimed to be alone; expired for none
};
Guarded<State> state;

/// True while the process takes three quarters of what it may use.
bool isMemoryShort()
{
    static const qint64 usable = Platform::usableMemory();
    return Platform::usedMemory() > usable / 4 * 3;
}

/// The journals of instances that died become notes.
void collectDeaths(const QDir &folder, Notes &notes)
{
    const QStringList names = folder.entryList({QStringLiteral("decoding-*.journal")}, QDir::Files);
    for (const QString &name : names) {
        QFile orphan(folder.filePath(name));
        QLockFile owner(orphan.fileName() + QStringLiteral(".lock"));
        owner.setStaleLockTime(0);
        if (!owner.tryLock(0) || !orphan.open(QIODevice::ReadOnly))
            continue; // its instance is alive
        const QHash<QString, Note> files = filesIn(orphan.read(journalBytes));
        if (!files.isEmpty())
            notes.addDeath(files);
        orphan.remove();
    }
}

} // namespace

void DecodeGuard::start(const QString &folder)
{
    finish();
    const auto access = state.lock();
    const QDir directory(folder);
    access->notes.open(directory.filePath(QStringLiteral("decoding-notes.json")));
    collectDeaths(directory, access->notes);
    const QString id = QUuid::createUuid().toString(QUuid::Id128);
    access->journal.open(directory.filePath(QStringLiteral("decoding-%1.journal").arg(id)));
    Platform::whenCrashing(markCulprit);
}

void DecodeGuard::finish()
{
    const auto access = state.lock();
    access->notes = Notes();
    access->journal.close();
}

DecodeGuard::Decoding::Decoding(const QString &path)
    : path(path)
{
    // Before the lock, since a drive may take its time to answer.
    const Note now = noteOf(QFileInfo(path));
    const bool hasLittleMemory = isMemoryShort();

    auto access = state.lock();
    if (const auto note = access->notes.of(path)) {
        suspect = sameFile(*note, now);
        allowed = !suspect || note->deaths < deathsUntilPassedOver;
        if (!allowed)
            return;
        if (!suspect)
            access->notes.remove(path);
    }
    while (!access->aloneUntil.hasExpired() && access.wait(access->aloneUntil)) {
    }
    // Whoever eats all memory is then in the journal alone, and those that come by do not starve.
    alone = suspect || hasLittleMemory;
    if (alone) {
        access->aloneUntil.setRemainingTime(longestAloneMs);
        while (access->inFlight > 0 && access.wait(access->aloneUntil)) {
        }
        access->aloneUntil.setRemainingTime(longestAloneMs);
    }
    ++access->inFlight;
    slot = slotInDecoding = access->journal.enter(slotText(path, now));
}

DecodeGuard::Decoding::~Decoding()
{
    auto access = state.lock();
    if (!allowed)
        return;
    --access->inFlight;
    slotInDecoding = -1;
    access->journal.leave(slot);
    if (alone)
        access->aloneUntil = {};
    if (suspect)
        access->notes.remove(path);
    access.wakeAll();
}
