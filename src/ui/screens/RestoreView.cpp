#include "ui/screens/RestoreView.h"

RestoreView::RestoreView(StudioModel *, DeviceMonitor *, RestoreManager *, QWidget *parent) : QWidget(parent)
{}

RestoreView::~RestoreView() = default;
