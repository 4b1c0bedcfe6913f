#pragma once

#include <QByteArray>

struct EmbeddedMetadata;

/// The chunks of a PNG file that say the metadata, to stand behind its header.
[[nodiscard]] QByteArray pngChunks(const EmbeddedMetadata &metadata);
