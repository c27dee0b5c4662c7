#pragma once

#include <QList>
#include <QString>

#include <optional>

// The four screens; the raw value is the Russian title shown in the sidebar.
enum class NavigationSection { overview, catalog, restore, logs };

namespace Navigation {

QString rawValue(NavigationSection section);
inline QString id(NavigationSection section)
{
    return rawValue(section);
}
// In sidebar order.
QList<NavigationSection> allCases();
QString symbolName(NavigationSection section);

} // namespace Navigation

size_t qHash(NavigationSection section, size_t seed = 0) noexcept;
