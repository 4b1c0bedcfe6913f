#pragma once

#include <QString>
#include <QVariant>

#include <functional>
#include <optional>

/// The one place through which the program's questions to the user pass, so that a test can answer them.
///
/// Only the functions that open a dialog of the system know of it. Without an answerer, which is how the
/// program runs, every question goes to the user.
namespace DialogSeam {

enum class Kind
{
    SelectFolder,
    SaveFile,
    OpenFiles, ///< answered by a list of paths
    Message,
    MessageWithAction, ///< answered by whether the action is wanted
    Confirm,           ///< answered by yes or no
    SelectColour
};

struct Question
{
    Kind kind;
    QString title;
    QString text; ///< start folder or path, message or proposed name
};

using Answerer = std::function<std::optional<QVariant>(const Question &)>;

/// Installs what answers in the user's place, or takes it away again (null). GUI thread only.
void setAnswerer(Answerer answerer);

/// The answer, or nothing if the user is to be asked.
[[nodiscard]] std::optional<QVariant> answer(const Question &question);

} // namespace DialogSeam
