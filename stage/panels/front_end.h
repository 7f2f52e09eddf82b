// What the stage asks of a front end, which is between it and the user: a script or a desktop.
#pragma once

#include "stage/panels/panel.h"

namespace cadencora::stage {

enum class MessageKind { error, info, question };

// A message box that was shown.
struct Message {
    MessageKind kind = MessageKind::info;
    std::vector<std::string> lines; // of a question: its title first
};

class FrontEnd {
public:
    virtual ~FrontEnd() = default;

    virtual const TextMetrics& metrics() const = 0;
    virtual int displayWidth() const = 0; // pixels
    virtual int displayHeight() const = 0;

    virtual void showFloating(PanelModel& panel) = 0; // returns at once
    virtual bool runModal(PanelModel& panel) = 0;     // returns when it closes: true for OK
    virtual void
    panelClosed(PanelModel& panel) = 0; // floating or closed by the user; it may open again
    virtual void panelDestroyed(PanelModel& panel) = 0;

    virtual void show(const Message& message) = 0; // an error or an information
    virtual bool ask(const Message& question) = 0; // true for yes

    // Called from time to time while the plug-in works, between two of its calls.
    virtual void working() {}
};

} // namespace cadencora::stage
