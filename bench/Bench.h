#pragma once

#include <QElapsedTimer>
#include <QString>

#include <functional>
#include <vector>

// A tiny registry: each benchmark file registers itself and prints its own figures.
namespace Bench {

using Function = std::function<void()>;

std::vector<std::pair<QString, Function>> &registry();

struct Registration {
    Registration(const QString &name, Function function)
    {
        registry().emplace_back(name, std::move(function));
    }
};

void report(const QString &name, double value, const QString &unit);

} // namespace Bench

#define CORVALIN_BENCHMARK(name)                                                                             \
    static void name();                                                                                      \
    static const Bench::Registration name##Registration(QStringLiteral(#name), name);                        \
    static void name()
