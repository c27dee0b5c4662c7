#pragma once

#include <QColor>
#include <QFont>
#include <QLinearGradient>
#include <QMargins>

class QApplication;
class QWidget;

// The studio's look as data: colour tokens, the type scale's faces and the geometry of the
// kit's components. Lengths are logical pixels (one point of the design is one logical
// pixel); font sizes are pixel sizes for the same reason.
namespace Theme {

// Colours the studio defines itself, all fully opaque.
QColor studioBackgroundStart();
QColor studioBackgroundEnd();
QColor studioAccent();
QColor studioAccentDeep();
QColor studioRose();
QColor sidebarBackground();

// The toolkit's standard colours in the dark appearance.
QColor white();
QColor black();
QColor red();
QColor orange();
QColor green();

// Hierarchical text colours for dark backgrounds.
QColor textPrimary();
QColor textSecondary();
QColor textTertiary();
// Placeholder text of the text fields: dimmer than typed text, yet at least 4.5:1 against
// every field of the window.
QColor textPlaceholder();

// The process log's pale green text.
QColor logText();

// The keyboard focus ring of painted controls; on a control filled with the accent, the ring
// is white so that it shows.
QColor focusRing();
QColor focusRingOnAccent();

// The colour with its alpha multiplied by opacity.
QColor withOpacity(QColor color, qreal opacity);

// The window backdrop: from the start colour at the top-leading corner to the end colour at
// the bottom-trailing corner of whatever it fills (object bounding mode). Built once.
const QLinearGradient &studioBackground();

enum class FontDesign { standard, rounded, monospaced };

// The system face at a pixel size and weight; rounded and monospaced faces where the
// platform has them. tracking is extra letter spacing in pixels.
QFont font(int size, QFont::Weight weight = QFont::Normal, FontDesign design = FontDesign::standard,
           qreal tracking = 0);

// Sets a label's (or any text widget's) font and text colour.
void styleText(QWidget *widget, const QFont &font, const QColor &color);

// Fusion with the studio's scroll bars, the dark palette (every colour group: active, inactive
// and disabled) and the default face for the whole application.
void applyDarkAppearance(QApplication &application);
// The dark palette alone, for a window shown separately (a sheet, an alert).
void applyDarkAppearance(QWidget *widget);

// Geometry of the kit's components.
namespace Metrics {
// Every screen's page: the margins around it and the spacing between its blocks.
inline constexpr int pagePadding = 28;
inline constexpr QMargins pageMargins(pagePadding, pagePadding, pagePadding, pagePadding);
inline constexpr int pageSpacing = 20;
// The overview's few large blocks stand a little further apart.
inline constexpr int overviewPageSpacing = 22;
// Cards side by side on a page.
inline constexpr int pageCardsSpacing = 18;
inline constexpr qreal cardRadius = 20;
inline constexpr int cardPadding = 20;
inline constexpr qreal brandIconRadius = 13;
inline constexpr qreal actionRowRadius = 13;
inline constexpr int actionRowPadding = 10;
inline constexpr qreal actionTileRadius = 10;
inline constexpr int actionTileSize = 36;
inline constexpr qreal errorBannerRadius = 13;
inline constexpr int errorBannerPadding = 14;
inline constexpr qreal primaryButtonRadius = 12;
inline constexpr int primaryButtonHeight = 40;
inline constexpr int primaryButtonPadding = 17;
inline constexpr qreal secondaryButtonRadius = 11;
inline constexpr int secondaryButtonHeight = 38;
inline constexpr int secondaryButtonPadding = 14;
inline constexpr qreal outlineWidth = 1;
inline constexpr qreal focusRingWidth = 2;
// The side of the square a symbol occupies next to text of the given pixel size.
int symbolBox(int fontSize);
} // namespace Metrics

// Opacities of translucent fills and strokes.
namespace Opacity {
inline constexpr qreal cardOutline = 0.08;
inline constexpr qreal cardMaterial = 0.045;
inline constexpr qreal actionRowBackdrop = 0.035;
inline constexpr qreal actionTile = 0.12;
inline constexpr qreal secondaryFill = 0.07;
inline constexpr qreal secondaryFillPressed = 0.12;
inline constexpr qreal secondaryOutline = 0.08;
inline constexpr qreal errorFill = 0.1;
inline constexpr qreal errorOutline = 0.2;
inline constexpr qreal dangerFill = 0.9;
inline constexpr qreal dangerFillPressed = 0.7;
inline constexpr qreal primaryGradientEnd = 0.85;
inline constexpr qreal primaryPressed = 0.75;
inline constexpr qreal primaryPressedScale = 0.98;
// A disabled painted control is drawn whole at this opacity, as native controls are dimmed.
inline constexpr qreal disabledControl = 0.45;
inline constexpr qreal focusRing = 0.9;
inline constexpr qreal focusRingOnAccent = 0.7;
inline constexpr qreal scrollHandle = 0.22;
inline constexpr qreal scrollHandleActive = 0.4;
inline constexpr qreal sidebarHighlight = 0.1;
inline constexpr qreal sidebarFeaturesFill = 0.04;
inline constexpr qreal supportLinkFill = 0.08;
inline constexpr qreal supportLinkOutline = 0.16;
inline constexpr qreal badgeCapsule = 0.07;
inline constexpr qreal searchFieldFill = 0.07;
inline constexpr qreal connectedTile = 0.15;
inline constexpr qreal waitingTile = 0.14;
inline constexpr qreal selectedFirmwareTileStart = 0.7;
inline constexpr qreal selectedFirmwareTileEnd = 0.65;
// The firmware list: the selected row is tinted with the accent, the others with white; the
// keyboard's current row has a white ring of its own.
inline constexpr qreal firmwareRowFillSelected = 0.08;
inline constexpr qreal firmwareRowFill = 0.035;
inline constexpr qreal firmwareRowOutlineSelected = 0.35;
inline constexpr qreal firmwareRowOutline = 0.055;
inline constexpr qreal firmwareTileSelected = 0.18;
inline constexpr qreal firmwareTile = 0.055;
inline constexpr qreal firmwareRowMark = 0.45;
inline constexpr qreal firmwareRowFocusRing = 0.8;
// The process log's box: black under the text, a green outline.
inline constexpr qreal logFill = 0.55;
inline constexpr qreal logOutline = 0.15;
} // namespace Opacity

} // namespace Theme
