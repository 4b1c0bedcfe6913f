#pragma once

class QString;

/// Writes small JPEG XL files of several kinds into `folder`, which exists.
void makeJxlSeeds(const QString &folder);
