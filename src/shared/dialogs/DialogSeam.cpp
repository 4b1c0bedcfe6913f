#include "shared/dialogs/DialogSeam.h"

#include <utility>

namespace {

DialogSeam::Answerer &installedAnswerer()
{
    static DialogSeam::Answerer answerer;
    return answerer;
}

} // namespace

void DialogSeam::setAnswerer(Answerer answerer)
{
    installedAnswerer() = std::move(answerer);
}

std::optional<QVariant> DialogSeam::answer(const Question &question)
{
    return installedAnswerer() ? installedAnswerer()(question) : std::nullopt;
}
