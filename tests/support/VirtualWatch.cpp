#include "support/VirtualWatch.h"

#include "support/RealTools.h"
#include "support/TestPaths.h"

#include <QDir>
#include <QFile>
#include <QLibrary>
#include <QRegularExpression>

namespace {

// VirtualWatch::Mode's names in the watch's state.
const char *const modeNames[] = {"none", "recovery", "dfu", "kis"};

QByteArray hex(quint64 value)
{
    return "0x" + QByteArray::number(value, 16);
}

// One of the library's entry points for the test's side (the end of LibusbEntryPoints.cpp): the
// library itself reads and writes the watch's state, under the lock every tool takes.
template <typename Function> Function entryPoint(const char *name)
{
    const auto function =
        reinterpret_cast<Function>(QLibrary::resolve(QStringLiteral(CORVALIN_VIRTUAL_WATCH_LIBRARY), name));
    if (!function)
        qFatal("the virtual watch library has no %s", name);
    return function;
}

} // namespace

VirtualWatch::VirtualWatch(const TestPaths &paths)
    : m_paths(paths), m_folder(paths.root() + QStringLiteral("/virtual-watch"))
{
    QDir().mkpath(m_folder);
    QDir().mkpath(paths.usbDevices());
    qputenv(stateVariable, QFile::encodeName(m_folder));
    qputenv(usbViewVariable, QFile::encodeName(paths.usbDevices()));
}

VirtualWatch::~VirtualWatch()
{
    qunsetenv(stateVariable);
    qunsetenv(usbViewVariable);
}

bool VirtualWatch::available()
{
    return !QStringLiteral(CORVALIN_VIRTUAL_WATCH_LIBRARY).isEmpty() && !RealTools::folder().isEmpty();
}

const char *VirtualWatch::unavailableMessage()
{
    if (QStringLiteral(CORVALIN_VIRTUAL_WATCH_LIBRARY).isEmpty())
        return "The virtual watch stands in for libusb, which libirecovery uses only on Linux, so the "
               "tests of the real tools against it are skipped here.";
    return RealTools::unavailableMessage();
}

bool VirtualWatch::installTools()
{
    if (!available() || !RealTools::installInto(m_paths))
        return false;
    const QString target = m_paths.tool(QStringLiteral("lib/libusb-1.0.so.0"));
    QFile::remove(target);
    return QFile::copy(QStringLiteral(CORVALIN_VIRTUAL_WATCH_LIBRARY), target);
}

void VirtualWatch::attach(Mode mode, const Identity &identity)
{
    const QByteArray state = QByteArray("mode=") + modeNames[static_cast<int>(mode)] +
                             "\ncpid=" + hex(identity.chipId) + "\nbdid=" + hex(identity.boardId) +
                             "\necid=" + hex(identity.ecid);
    entryPoint<void (*)(const char *)>("corvalin_virtual_watch_arrive")(state.constData());
}

void VirtualWatch::setFaults(const Faults &faults)
{
    const auto set = entryPoint<void (*)(const char *, const char *)>("corvalin_virtual_watch_set");
    set("fault_vanish_after_upload", QByteArray::number(faults.vanishAfterUpload).constData());
    set("fault_no_return", faults.neverComeBack ? "1" : "0");
    set("nonce_after_ibss", faults.nonceAfterIbss.constData());
}

void VirtualWatch::attach(Mode mode)
{
    attach(mode, Identity());
}

QStringList VirtualWatch::log() const
{
    // A re-enumeration whose time has come happens first.
    entryPoint<void (*)()>("corvalin_virtual_watch_settle")();
    QFile file(m_folder + QStringLiteral("/transfers.log"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
}

bool VirtualWatch::logged(const QString &prefix) const
{
    return !log().filter(QRegularExpression(u'^' + QRegularExpression::escape(prefix))).isEmpty();
}
