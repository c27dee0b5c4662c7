#pragma once

#include <QString>

// The application's own error vocabulary with its fixed Russian descriptions.
class StudioError {
public:
    enum class Kind {
        toolMissing,
        processFailed,
        incompatibleIPSW,
        invalidCatalog,
        noFirmware,
        invalidDownloadURL,
        checksumMismatch,
    };

    static StudioError toolMissing(const QString &toolName) { return {Kind::toolMissing, toolName}; }
    static StudioError processFailed(const QString &message) { return {Kind::processFailed, message}; }
    static StudioError incompatibleIPSW(const QString &productType)
    {
        return {Kind::incompatibleIPSW, productType};
    }
    static StudioError invalidCatalog() { return {Kind::invalidCatalog, {}}; }
    static StudioError noFirmware() { return {Kind::noFirmware, {}}; }
    static StudioError invalidDownloadURL() { return {Kind::invalidDownloadURL, {}}; }
    static StudioError checksumMismatch() { return {Kind::checksumMismatch, {}}; }

    Kind kind() const { return m_kind; }
    const QString &payload() const { return m_payload; }
    QString errorDescription() const;

    friend bool operator==(const StudioError &, const StudioError &) = default;

private:
    StudioError(Kind kind, QString payload) : m_kind(kind), m_payload(std::move(payload)) {}

    Kind m_kind;
    QString m_payload;
};
