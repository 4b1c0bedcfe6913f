#pragma once

#include <QTest>

#include <csignal>
#include <functional>
#include <sys/resource.h>
#include <unistd.h>

/// Runs something while the system makes it fail.
namespace Failures {

/// Permissions count: root, whom none stops, is nobody for that long.
inline void asNobody(const std::function<void()> &action)
{
    const bool root = geteuid() == 0;
    QVERIFY(!root || seteuid(65534) == 0);
    action();
    QVERIFY(!root || seteuid(0) == 0);
}

/// No file grows beyond so many bytes, as on a disk that is full.
inline void onFullDisk(rlim_t bytes, const std::function<void()> &action)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full = {bytes, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    action();
    setrlimit(RLIMIT_FSIZE, &before);
}

} // namespace Failures
