#pragma once

namespace Ui {
class ThumbsForm;
}

/// Put the widgets of the browser and of the viewer into their rows and columns.
void layoutThumbsPage(const Ui::ThumbsForm &ui);
void layoutViewerPage(const Ui::ThumbsForm &ui);
