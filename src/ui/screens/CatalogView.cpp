#include "ui/screens/CatalogView.h"

CatalogView::CatalogView(StudioModel *, QWidget *parent) : QWidget(parent) {}

CatalogView::~CatalogView() = default;
