#pragma once

#include <QImageIOHandler>
#include <QVariant>

#include <optional>

/// What Qt asks of a format that a `Reader` reads, which is made of the device when it is first needed. Its
/// `format` says which of its formats a device holds, if any.
template <typename Reader>
class ReaderHandler : public QImageIOHandler
{
public:
    bool canRead() const override
    {
        if (reader)
            return !done;
        const QByteArray found = device() ? Reader::format(*device()) : QByteArray();
        if (!found.isEmpty())
            setFormat(found);
        return !found.isEmpty();
    }

    bool read(QImage *image) override
    {
        if (!canRead())
            return false;
        *image = picture(source());
        done = true;
        return !image->isNull();
    }

    bool supportsOption(ImageOption option) const override { return option == Size || option == ImageFormat; }

    QVariant option(ImageOption option) const override
    {
        if (option == Size && canRead())
            return source().size();
        if (option == ImageFormat && canRead())
            return source().imageFormat();
        return {};
    }

protected:
    virtual QImage picture(Reader &from) { return from.read(); }

    Reader &source() const
    {
        if (!reader)
            reader.emplace(*device());
        return *reader;
    }

private:
    mutable std::optional<Reader> reader;
    bool done = false;
};
