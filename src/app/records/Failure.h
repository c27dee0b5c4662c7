#pragma once

#include "app/records/StudioError.h"

#include <QString>

#include <optional>

// The one error value of the core. Either one of our own StudioError cases, shown by its
// Russian description, or an error reported by the platform (network, file system, JSON,
// process), whose own description is kept unchanged.
class Failure {
public:
    enum class Domain { studio, network, fileSystem, json, process };

    Failure(const StudioError &error)
        : m_domain(Domain::studio), m_studioError(error) {} // NOLINT: implicit by design
    static Failure platform(Domain domain, const QString &description, int code = 0);
    // A transfer that ran out of time. Qt ends it as if it had been cancelled and describes it
    // so; the user is told in their own language that it timed out, as the platform does.
    static Failure networkTimeout(int code);

    Domain domain() const { return m_domain; }
    // Platform-specific code (for example a QNetworkReply::NetworkError); 0 for our own errors.
    int code() const { return m_code; }
    const std::optional<StudioError> &studioError() const { return m_studioError; }
    QString description() const;

private:
    Failure(Domain domain, QString description, int code)
        : m_domain(domain), m_description(std::move(description)), m_code(code)
    {}

    Domain m_domain;
    std::optional<StudioError> m_studioError;
    QString m_description;
    int m_code = 0;
};
