#include "ui/screens/LogView.h"

LogView::LogView(StudioModel *, RestoreManager *, QWidget *parent) : QWidget(parent) {}

LogView::~LogView() = default;
