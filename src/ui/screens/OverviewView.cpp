#include "ui/screens/OverviewView.h"

OverviewView::OverviewView(StudioModel *, DeviceMonitor *, DownloadManager *, QWidget *parent)
    : QWidget(parent)
{}

OverviewView::~OverviewView() = default;
