#pragma once

#include <QImage>
#include <QString>

/// Side of the square icon of a row of the batch list, pixels.
constexpr int batchIconSide = 64;

/// The text of a row: file name, resolution and folder, a line each. It is all that a row says of its file.
QString batchItemText(const QString &path, const QString &resolution);

/// The file of a row, from its text.
QString fullPathFromItemText(const QString &text);

/// What identifies a file in the list: its path in the system's way of writing, in lower case, since two
/// paths that differ in case only are one file here.
QString batchItemKey(const QString &path);

/// A thumbnail in the middle of a white square; a null one gives the plain square.
QImage batchIcon(const QImage &thumbnail);
