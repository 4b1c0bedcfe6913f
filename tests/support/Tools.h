#pragma once

#include <QProcess>

#include <optional>

/// Programs by other hands that read or make the files in question.
namespace Tools {

/// Runs one to its end. What it prints; nothing if it cannot be run, or says that it failed. Arguments that
/// are paths of a test's folder are handed over as the program knows them: under Wine, it is one of the
/// system around it.
inline std::optional<QByteArray> run(QString program, QStringList arguments)
{
#ifdef Q_OS_WIN
    program.prepend("Z:/usr/bin/");
    for (QString &argument : arguments)
        if (argument.startsWith("Z:/"))
            argument.remove(0, 2);
#endif
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return {};
    return process.readAllStandardOutput();
}

} // namespace Tools
