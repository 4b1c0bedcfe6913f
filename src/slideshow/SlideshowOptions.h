#pragma once

/// Reads the options of the slideshow from the settings into the variables of `VistamoGlobal`.
namespace SlideshowOptions {

void load();

} // namespace SlideshowOptions
