#pragma once

#include <QDialog>

/// Lists the keys of the program, part by part.
class KeysDialog : public QDialog
{
    Q_OBJECT

public:
    explicit KeysDialog(QWidget *parent);
};
