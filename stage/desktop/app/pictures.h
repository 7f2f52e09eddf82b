// Pictures of the windows for the manual.
#pragma once

class QString;

namespace cadencora::stage {

class MainWindow;

// Writes PNGs into the folder: main.png with the window as it stands, panel-TAB.png for every tab
// of the plug-in's panel, dialog-BUTTON-N.png for the dialogs and messages behind every button, all
// accepted and what they did undone, after.png with the window after "Destroy Keys", and dark-*.png
// in a dark palette. Answers the program's exit status.
int drawPictures(MainWindow& window, const QString& folder);

} // namespace cadencora::stage
