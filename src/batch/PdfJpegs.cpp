#include "batch/PdfJpegs.h"

#include <QFileDevice>
#include <QImage>
#include <QPainter>
#include <QRect>
#include <QRegularExpression>

#include <algorithm>
#include <iterator>

bool PdfJpegs::draw(QPainter &painter, QPoint at, const ImageReading::PlainJpeg &jpeg)
{
    const qint64 begin = pdf.pos();
    QImage standIn(1, 1, QImage::Format_RGB32);
    standIn.fill(Qt::white);
    painter.drawImage(QRect(at, jpeg.size), standIn);
    const qint64 end = pdf.pos();
    const QByteArray written = pdf.seek(begin) ? pdf.read(end - begin) : QByteArray();

    // A picture, and behind it its length, as an object of its own.
    static const QRegularExpression objects(
        "^(\\d+) 0 obj\n<<\n/Type /XObject\n/Subtype /Image\n.*\n/Length (\\d+) 0 R\n.*\nendstream\nendobj\n"
        "(\\2 0 obj\n)\\d+\nendobj\n$",
        QRegularExpression::DotMatchesEverythingOption);
    const auto match = objects.match(QString::fromLatin1(written));
    if (!match.hasMatch() || !pdf.seek(begin)) {
        pdf.seek(end);
        return false;
    }
    const QByteArray number = match.captured(1).toLatin1();
    const QByteArray numberOfLength = match.captured(2).toLatin1();
    const auto text = [](qint64 value) { return QByteArray::number(value); };
    const QByteArray head = number + " 0 obj\n<<\n/Type /XObject\n/Subtype /Image\n/Width "
                            + text(jpeg.size.width()) + "\n/Height " + text(jpeg.size.height())
                            + "\n/BitsPerComponent 8\n/ColorSpace /"
                            + (jpeg.isGrey ? "DeviceGray" : "DeviceRGB") + "\n/Length " + numberOfLength
                            + " 0 R\n/Filter /DCTDecode\n>>\nstream\n";
    const QByteArray tail = "\nendstream\nendobj\n";
    const QByteArray length = numberOfLength + " 0 obj\n" + text(jpeg.bytes.size()) + "\nendobj\n";
    for (const QByteArray &part : {head, jpeg.bytes, tail, length})
        pdf.write(part); // a failure shows when the file is committed

    const qint64 shift = shifts.rbegin()->second;
    const qint64 placeOfLength = pdf.pos() - length.size();
    shifts[begin - shift + match.capturedStart(3)] = shift + placeOfLength - begin - match.capturedStart(3);
    shifts[end - shift] = shift + pdf.pos() - end;
    return true;
}

bool PdfJpegs::finish()
{
    if (shifts.size() == 1)
        return true;
    constexpr qint64 bytesOfEnd = 64;
    pdf.seek(std::max<qint64>(pdf.size() - bytesOfEnd, 0));
    static const QRegularExpression end("startxref\\s+(\\d+)\\s+%%EOF\\s*$");
    const qint64 table = moved(end.match(QString::fromLatin1(pdf.readAll())).captured(1).toLongLong());
    QByteArray bytes = pdf.seek(table) ? pdf.readAll() : QByteArray();
    if (!bytes.startsWith("xref\n") || !pdf.seek(table))
        return false;
    // Places of fixed width; what was never written has 0.
    static const QRegularExpression place("\n(\\d{10}) 00000 n");
    auto places = place.globalMatch(QString::fromLatin1(bytes));
    while (places.hasNext()) {
        const auto found = places.next();
        const qint64 position = moved(found.captured(1).toLongLong());
        bytes.replace(found.capturedStart(1), 10, QByteArray::number(position).rightJustified(10, '0'));
    }
    bytes.truncate(bytes.lastIndexOf("startxref"));
    bytes += "startxref\n" + QByteArray::number(table) + "\n%%EOF\n";
    return pdf.write(bytes) == bytes.size() && pdf.resize(table + bytes.size());
}

/// Where something is, from where the writer thinks it is.
qint64 PdfJpegs::moved(qint64 position) const
{
    return position + std::prev(shifts.upper_bound(position))->second;
}
