#pragma once

class QQmlApplicationEngine;
class QQuickWindow;

namespace ambrel {

class AppModel;

/// Loads the main window for `model` into `engine` and ties the ring to the model: new
/// layouts morph in, the fullness eases, clicks focus folders and the centre goes up.
/// Returns no window when the interface fails to load.
QQuickWindow* createMainWindow(QQmlApplicationEngine& engine, AppModel& model);

/// Chooses the cheaper ways to draw the window's frames (text, buffers, rasteriser threads);
/// environment settings the user made are kept. Call before the first window is shown.
void prepareRendering();

/// Whether the desktop asks for animations off (GNOME's "enable-animations").
bool desktopReducesMotion();

} // namespace ambrel
