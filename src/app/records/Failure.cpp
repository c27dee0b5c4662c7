#include "app/records/Failure.h"

Failure Failure::platform(Domain domain, const QString &description, int code)
{
    return Failure(domain, description, code);
}

Failure Failure::networkTimeout(int code)
{
    return Failure(Domain::network, QStringLiteral("Превышен лимит времени на запрос."), code);
}

QString Failure::description() const
{
    return m_studioError ? m_studioError->errorDescription() : m_description;
}
