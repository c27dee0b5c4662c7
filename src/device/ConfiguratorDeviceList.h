#pragma once

#include <QString>

#include <optional>

// Reads the JSON device list of `cfgutil --format JSON list`: an object whose "Output" member
// is an object of attached devices, each an object.
namespace ConfiguratorDeviceList {

struct Device {
    QString deviceType;
    QString ecid;
};

// The first device (in the container's iteration order) whose "deviceType" is a string
// beginning with "Watch", provided its "ECID" is a string. Absent when the text is not such a
// document, holds no watch, or the chosen watch lacks a string ECID.
std::optional<Device> firstWatch(const QString &output);

} // namespace ConfiguratorDeviceList
