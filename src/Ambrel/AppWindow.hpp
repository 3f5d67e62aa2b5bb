#pragma once

class QQmlApplicationEngine;
class QQuickWindow;

namespace ambrel {

class AppModel;

/// Loads the main window for `model` into `engine`. Returns no window when the interface
/// fails to load.
QQuickWindow* createMainWindow(QQmlApplicationEngine& engine, AppModel& model);

/// Chooses the cheaper ways to draw the window's frames (text, buffers, rasteriser threads);
/// environment settings the user made are kept. Call before the first window is shown.
void prepareRendering();

/// Whether the desktop asks for animations off (GNOME's "enable-animations").
bool desktopReducesMotion();

} // namespace ambrel
