#include "device/DeviceMonitor.h"

DeviceMonitor::DeviceMonitor(QObject *parent)
    : QObject(parent),
      m_connectionHint(QStringLiteral("Подключите сервисный кабель и включите Recovery/DFU")),
      m_recoveryProductIDs{4642, 4647, 4736, 4737, 4738, 4739, 4920, 6273}
{}

DeviceMonitor::~DeviceMonitor() = default;

void DeviceMonitor::start() {}

QCoro::Task<> DeviceMonitor::poll()
{
    co_return;
}
