#pragma once

#include "ui/SymbolLabel.h"

// A firmware's state in a list: symbol and text in 11 semibold, both in the given colour.
class StatusLabel final : public SymbolLabel {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StatusLabel)

public:
    StatusLabel(const QString &text, const QString &symbol, const QColor &color, QWidget *parent = nullptr);
    ~StatusLabel() override;
};
