#pragma once

#include <QString>

#include <utility>

/// Keeps a picture that kills its decoder from killing the program at every start.
///
/// While a picture is being decoded its path stands in a journal of this instance, a small file that
/// outlives a crash. The next start reads the journals of instances that died. A file that was
/// alone in decoding at two deaths, or in whose decoder the program crashed, is passed over until it changes.
/// Where it is not known who killed it, files that were decoded in parallel are suspects: from then on they
/// are decoded alone where that can be had within a few seconds, so that the next death tells. One that
/// decodes well is cleared of all suspicion. While memory is short all files are decoded so.
///
/// Without a folder that can be written to there is no guard, and everything is decoded.
namespace DecodeGuard {

/// Reads what instances that died have left in `folder` and starts this instance's journal there. GUI thread,
/// before anything is decoded.
void start(const QString &folder);

/// Takes the journal away: from here on, ending is no death. GUI thread.
void finish();

/// Held while one picture is decoded, and while it is encoded if its rows are so as they come. Safe from any
/// thread.
class Decoding
{
public:
    [[nodiscard]] explicit Decoding(const QString &path);
    ~Decoding();
    Q_DISABLE_COPY_MOVE(Decoding)

    /// False if the file is to be passed over.
    explicit operator bool() const { return allowed; }

    /// For ways to decode that may leave a file to others: true if it is suspected, and then it stays so.
    [[nodiscard]] bool staysSuspect() { return std::exchange(suspect, false); }

private:
    const QString path;
    int slot = -1;
    bool suspect = false;
    bool alone = false;
    bool allowed = true;
};

} // namespace DecodeGuard
