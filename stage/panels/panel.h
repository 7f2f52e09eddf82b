// Panels and controls without a toolkit: what a plug-in asked for, its place and its value.
//
// A front end draws the model and forwards what the user does to the functions of actions.h; the
// services fill it on behalf of the plug-in. Positions and sizes are pixels from the panel's top
// left corner, below its title.
#pragma once

#include "plugin/host/panel_funcs.h"
#include "stage/scene/scene.h"

#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace cadencora::stage {

enum class ControlType {
    button,
    choice,
    tabs,
    directory,
    file,
    loadButton,
    saveButton,
    integer,
    item,
    listBox,
    number,
    slider,
    toggle
};

struct Rect {
    int x = 0, y = 0, width = 0, height = 0;
    bool operator==(const Rect&) const = default;
};

struct PanelModel;

// One control. Lives as long as its PanelSet, so that a late use can be told from a wild pointer.
struct ControlModel {
    host::Control record{}; // what the plug-in holds; its slots are the panel service's
    PanelModel* panel = nullptr;
    ControlType type = ControlType::button;
    std::string label;   // as the plug-in gave it
    std::string section; // label of the list box above, for controls that belong to it
    Rect rect;
    int labelWidth = 0;      // of a label to the left of the control's box
    bool drawn = true;       // an erased control is invisible and out of the user's reach
    bool isVertical = false; // a choice: its entries are one below the other

    // The value, by type.
    int integer = 0;              // integer, toggle (0, 1), choice, slider, selected row (-1: none)
    double number = 0;            // number
    std::string text;             // the path that was chosen; empty: none
    ItemId item = ItemId::none;   // item
    std::string pattern;          // of file names that a path control offers
    int minimum = 0, maximum = 0; // slider
    std::vector<std::string> choices;
    host::CountCallback count = nullptr; // list box rows, asked for when drawn
    host::NameCallback name = nullptr;

    host::EventHandler handler = nullptr;
    void* userData = nullptr;
    int redraws = 0; // how often it was drawn again: a front end refreshes when it grows
};

enum class PanelState { closed, floating, modal };

struct PanelModel {
    std::string title;
    int x = 0, y = 0;
    int askedWidth = 0, askedHeight = 0; // set by the plug-in; the panel grows beyond to fit
    PanelState state = PanelState::closed;
    bool destroyed = false;
    std::vector<ControlModel*> controls; // in the order of adding

    int width() const;
    int height() const;
};

// Sizes of text on the display that a front end draws on.
struct TextMetrics {
    virtual ~TextMetrics() = default;
    virtual int width(std::string_view text) const = 0;
    virtual int lineHeight() const = 0;
};

// For front ends without a display: every character eight pixels wide, sixteen high.
struct FixedMetrics : TextMetrics {
    int width(std::string_view text) const override;
    int lineHeight() const override { return 16; }
};

// What a plug-in asks of a control's size; 0: the type's own.
struct AskedSize {
    int width = 0;
    int rows = 0; // visible ones
    int height = 0;
};

// The panels of a host. Destroyed panels stay in the set, marked, until the set is destroyed.
class PanelSet {
public:
    explicit PanelSet(const TextMetrics& metrics) : metrics_(metrics) {}

    PanelModel& createPanel(std::string title);
    void destroyPanel(PanelModel& panel);

    // Adds a control below the one added before it, with `model`'s type, label and value.
    ControlModel& addControl(PanelModel& panel, ControlModel model, AskedSize asked = {});

    // Null where no panel or control was ever known by that record.
    ControlModel* find(const host::Control* record);
    PanelModel* find(host::Panel handle);
    static host::Panel handleOf(const PanelModel& panel);

    // The items that were chosen in controls are of a scene that ends.
    void forgetItems();

    std::deque<PanelModel>& panels() { return panels_; }

private:
    const TextMetrics& metrics_;
    std::deque<PanelModel> panels_;
    std::deque<ControlModel> controls_;
    std::unordered_map<const void*, ControlModel*> byRecord_;
    std::unordered_map<const void*, PanelModel*> byHandle_;
};

// How many rows a list box has, as its callback says now; 0 where that fails.
int listRowCount(const ControlModel& control);

// The rows of a list box, as its callbacks give them now: at most so many.
constexpr int mostListRows = 100'000;
std::vector<std::string> listRows(const ControlModel& control);

} // namespace cadencora::stage
