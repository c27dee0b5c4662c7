#include "ui/DeferredIcon.h"

#include <QIconEngine>
#include <QPainter>

namespace {

class DeferredIconEngine final : public QIconEngine {
public:
    explicit DeferredIconEngine(std::function<QIcon()> build) : m_build(std::move(build)) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        icon().paint(painter, rect, Qt::AlignCenter, mode, state);
    }
    QSize actualSize(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        return icon().actualSize(size, mode, state);
    }
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        return icon().pixmap(size, mode, state);
    }
    QPixmap scaledPixmap(const QSize &size, QIcon::Mode mode, QIcon::State state, qreal scale) override
    {
        return icon().pixmap(size, scale, mode, state);
    }
    QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override
    {
        return icon().availableSizes(mode, state);
    }
    QString iconName() override { return icon().name(); }
    bool isNull() override { return icon().isNull(); }
    QIconEngine *clone() const override { return new DeferredIconEngine(*this); }

private:
    const QIcon &icon()
    {
        if (m_build) {
            m_icon = m_build();
            m_build = nullptr;
        }
        return m_icon;
    }

    std::function<QIcon()> m_build;
    QIcon m_icon;
};

} // namespace

namespace DeferredIcon {

QIcon make(std::function<QIcon()> build)
{
    return QIcon(new DeferredIconEngine(std::move(build)));
}

} // namespace DeferredIcon
