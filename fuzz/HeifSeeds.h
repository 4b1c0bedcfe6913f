#pragma once

class QString;

/// Writes small HEIC and AVIF files of several kinds into `folder`, which exists.
void makeHeifSeeds(const QString &folder);
