#include "app/records/NavigationSection.h"

#include <QHashFunctions>

namespace Navigation {

QString rawValue(NavigationSection section)
{
    switch (section) {
    case NavigationSection::overview: return QStringLiteral("Главная");
    case NavigationSection::catalog: return QStringLiteral("Каталог прошивок");
    case NavigationSection::restore: return QStringLiteral("Восстановление");
    case NavigationSection::logs: return QStringLiteral("Журнал");
    }
    Q_UNREACHABLE();
    return {};
}

QList<NavigationSection> allCases()
{
    return {NavigationSection::overview, NavigationSection::catalog, NavigationSection::restore,
            NavigationSection::logs};
}

QString symbolName(NavigationSection section)
{
    switch (section) {
    case NavigationSection::overview: return QStringLiteral("square.grid.2x2");
    case NavigationSection::catalog: return QStringLiteral("square.and.arrow.down");
    case NavigationSection::restore: return QStringLiteral("applewatch.radiowaves.left.and.right");
    case NavigationSection::logs: return QStringLiteral("text.alignleft");
    }
    Q_UNREACHABLE();
    return {};
}

} // namespace Navigation

size_t qHash(NavigationSection section, size_t seed) noexcept
{
    return qHash(Navigation::rawValue(section), seed);
}
