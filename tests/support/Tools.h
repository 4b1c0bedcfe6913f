#pragma once

#include <QtCore>

#include <optional>

/// Programs by other hands that read or make the files in question.
namespace Tools {

/// One that runs. Under Wine it is of the system around, where Wine starts it but hears no more of it: there
/// a shell writes down what becomes of it. Arguments that are paths of a test's folder are handed over as it
/// knows them.
class Tool
{
public:
    Tool(const QString &program, QStringList arguments)
    {
#ifdef Q_OS_WIN
        const QString script = "cd '%1'; \"$0\" \"$@\" >printed 2>/dev/null; echo $? >code; mv code ended";
        for (QString &argument : arguments += {program, notes.path()})
            if (argument.startsWith("Z:/"))
                argument.remove(0, 2);
        const QString folder = arguments.takeLast();
        arguments.prepend(arguments.takeLast());
        QProcess::startDetached("Z:/bin/sh", QStringList{"-c", script.arg(folder)} + arguments);
#else
        process.start(program, arguments);
#endif
    }

    bool hasEnded()
    {
#ifdef Q_OS_WIN
        return QFile::exists(notes.filePath("ended"));
#else
        return process.state() == QProcess::NotRunning;
#endif
    }

    /// What it has printed; nothing if it could not be run, or says that it failed.
    std::optional<QByteArray> printed()
    {
#ifdef Q_OS_WIN
        return noted("ended") == "0\n" ? std::optional(noted("printed")) : std::nullopt;
#else
        return process.exitStatus() == QProcess::NormalExit && process.error() == QProcess::UnknownError
                       && process.exitCode() == 0
                   ? std::optional(process.readAllStandardOutput())
                   : std::nullopt;
#endif
    }

    /// Waits half a minute for its end.
    void wait()
    {
#ifdef Q_OS_WIN
        for (int i = 0; i < 3000 && !hasEnded(); ++i)
            QThread::msleep(10);
#else
        process.waitForFinished();
#endif
    }

private:
#ifdef Q_OS_WIN
    QByteArray noted(const QString &name) const
    {
        QFile file(notes.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir notes;
#else
    QProcess process;
#endif
};

/// Runs one to its end. What it prints; nothing if it cannot be run, or says that it failed.
inline std::optional<QByteArray> run(const QString &program, const QStringList &arguments)
{
    Tool tool(program, arguments);
    tool.wait();
    return tool.printed();
}

} // namespace Tools
