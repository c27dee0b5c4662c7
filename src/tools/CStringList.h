#pragma once

#include <QByteArray>
#include <QList>
#include <QStringList>

#include <vector>

// A NUL-terminated array of C strings over owned bytes, as exec and spawn want their argument
// and environment lists.
class CStringList {
public:
    explicit CStringList(QList<QByteArray> items) : m_items(std::move(items))
    {
        for (QByteArray &item : m_items)
            m_pointers.push_back(item.data());
        m_pointers.push_back(nullptr);
    }
    // Each entry in the local 8-bit encoding, which is how the platform passes them on.
    static CStringList fromLocal8Bit(const QStringList &entries, QList<QByteArray> leading = {})
    {
        for (const QString &entry : entries)
            leading << entry.toLocal8Bit();
        return CStringList(std::move(leading));
    }

    char *const *data() { return m_pointers.data(); }
    const char *first() const { return m_items.isEmpty() ? nullptr : m_items.constFirst().constData(); }

private:
    QList<QByteArray> m_items;
    std::vector<char *> m_pointers;
};
