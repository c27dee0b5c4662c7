#pragma once

#include <QFont>
#include <QLabel>
#include <QMargins>
#include <QVarLengthArray>

// A label that wraps its words and keeps the height it needs at each width it was asked about,
// until what it shows or how changes. While a page is built and whenever its window is resized,
// layouts ask the same few widths again and again, and each answer lays the whole text out.
class WrappingLabel final : public QLabel {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(WrappingLabel)

public:
    explicit WrappingLabel(const QString &text = {}, QWidget *parent = nullptr);
    ~WrappingLabel() override;

    int heightForWidth(int width) const override;

private:
    // Everything the height at a given width depends on.
    struct Layout {
        QString text;
        QFont font;
        QMargins margins;
        int frame = 0;
        int margin = 0;
        int indent = 0;
        Qt::TextFormat format = Qt::AutoText;
        bool operator==(const Layout &) const = default;
    };
    Layout currentLayout() const;

    mutable Layout m_layout;
    mutable QVarLengthArray<std::pair<int, int>, 8> m_heights; // width, height
};
