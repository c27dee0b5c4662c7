#pragma once

#include <QProcessEnvironment>
#include <QString>

#include <optional>

// Where one restore writes: the restore tool's own log file, announced in the application's log
// before the tool starts, and the cache folder it unpacks into. The application decides both and
// hands them to the KIS companion through its environment (the companion's command line stays
// Configurator's), so that the idevicerestore the companion runs writes exactly there, even when
// the companion, a process of its own, would work out other folders or another time stamp.
struct RestoreDestinations {
    QString logFile;
    QString cacheDirectory;

    // A log file named after the current time in the logs folder, and the cache folder.
    static RestoreDestinations forNow();
    // The destinations handed down in `environment`; absent unless both are there.
    static std::optional<RestoreDestinations> handedDown(const QProcessEnvironment &environment);
    // Adds the destinations to the environment of a companion.
    void handDown(QProcessEnvironment &environment) const;

    bool operator==(const RestoreDestinations &) const = default;
};
