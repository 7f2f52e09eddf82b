// "LWPanelServices": panels, their controls and the display.
//
// Panels and controls belong to the host. Positions and sizes are pixels.
#pragma once

#include "plugin/host/types.h"

#include <cstddef>

namespace cadencora::host {

constexpr const char* panelFuncsName = "LWPanelServices";

struct Control;

// Called when the user uses a control. `userData` is what was set on the control.
using EventHandler = void (*)(Control* control, void* userData);
using CountCallback = int (*)(void* userData);
using NameCallback = const char* (*)(void* userData, int row);

// Control type names of addControl.
constexpr const char* loadButtonControl = "LoadButtonControl";
constexpr const char* saveButtonControl = "SaveButtonControl";
constexpr const char* fileControl = "FileControl";
constexpr const char* dirControl = "DirControl";
constexpr const char* numControl = "NumControl";
constexpr const char* floatControl = "FloatControl";
constexpr const char* boolControl = "BoolControl";
constexpr const char* choiceControl = "ChoiceControl";
constexpr const char* tabChoiceControl = "TabChoiceControl";
constexpr const char* sliderControl = "SliderControl";
constexpr const char* itemListControl = "LWListControl";
constexpr const char* listBoxControl = "ListBoxControl";
constexpr const char* buttonControl = "ButtonControl";

// Word 0 of a control descriptor.
enum DescriptorKind : std::int32_t {
    pathKind = 1,      // the load, save, file and directory controls
    integerKind = 2,   // "NumControl"
    floatKind = 3,     // "FloatControl"
    toggleKind = 8,    // "BoolControl"
    choiceKind = 9,    // "ChoiceControl", "TabChoiceControl"
    sliderKind = 15,   // "SliderControl"
    itemListKind = 16, // "LWListControl"
    listBoxKind = 18,  // "ListBoxControl"
    buttonKind = 19    // "ButtonControl"
};

// What addControl is told about a control: word 0 is the kind, the rest depends on it.
union ControlDesc {
    std::int32_t kind;
    struct {
        std::int32_t kind;
        std::int32_t width;
    } path;
    struct {
        std::int32_t kind;
        const char* const* items; // ends with null; must outlive the panel
        std::int32_t orientation; // 0 horizontal
    } choice;
    struct {
        std::int32_t kind;
        std::int32_t width;
        std::int32_t minimum;
        std::int32_t maximum;
    } slider;
    struct {
        std::int32_t kind;
        GlobalFunc lookup;
        std::int32_t itemKind; // 5
        std::int32_t word3;
        std::int32_t word4;
        std::int32_t width; // 100
    } itemList;
    struct {
        std::int32_t kind;
        std::int32_t width;
        std::int32_t rows; // visible rows
        std::int32_t word3;
        CountCallback count;
        NameCallback name; // the text stays valid until the next call into the plug-in
    } listBox;
    struct {
        std::int32_t kind;
        std::int32_t width;
        std::int32_t height; // 0: the host's own height
    } button;
};

static_assert(sizeof(void*) != 4 || offsetof(ControlDesc, itemList.width) == 20);
static_assert(sizeof(void*) != 4 || offsetof(ControlDesc, listBox.name) == 20);
static_assert(offsetof(ControlDesc, slider.maximum) == 12);

// Word 0 of a control value.
enum ValueType : std::int32_t {
    textValue = 1,
    integerValue = 2, // also pointers: user data and event handlers
    floatValue = 3,
    itemValue = 23
};

#pragma pack(push, 4)
// A text that is read or written in place.
struct TextBuffer {
    char* buffer;      // the caller's
    std::int32_t size; // in bytes
};

// The value of one control attribute: nine 32-bit words, where a pointer takes two on a 64-bit
// build. Zeroed before use.
struct ControlValue {
    std::int32_t type; // word 0
    union {            // from word 1
        std::int32_t integer;
        double real;
        void* pointer;        // user data
        EventHandler handler; // event handler
        Item item;
        TextBuffer text;
        std::int32_t words[8];
    };
};
#pragma pack(pop)

static_assert(sizeof(ControlValue) == 36);
static_assert(offsetof(ControlValue, integer) == 4);
static_assert(offsetof(ControlValue, text.size) == 4 + sizeof(void*));

// Attributes of a control.
enum ControlTag : int {
    controlX = 0,
    controlY = 1,
    controlValue = 4,
    controlLabelWidth = 9, // read only
    controlHandler = 14,
    controlUserData = 16
};

enum DrawMode : int { eraseControl = 0, drawControl = 1 };

// The first three slots of every control record.
struct Control {
    void (*draw)(Control* control, int mode);
    void (*get)(Control* control, int tag, ControlValue* out);
    void (*set)(Control* control, int tag, const ControlValue* in);
};

static_assert(offsetof(Control, set) == slot(2));

// Attributes of a panel, all plain ints in pixels.
enum PanelAttribute : int { panelX = 0, panelY = 1, panelWidth = 2, panelHeight = 3 };

enum OpenFlags : int {
    openFloating = 0, // returns at once; the panel stays up
    openModal = 3     // with OK and Cancel; returns when the panel closes
};

// The drawing table, reached through the panel service.
struct DrawFuncs {
    Reserved slot0, slot1, slot2, slot3, slot4, slot5, slot6, slot7;
    const int* (*displayMetrics)(); // slot 8: two ints of the host's, display width and height
};

static_assert(offsetof(DrawFuncs, displayMetrics) == slot(8));

struct PanelFuncs {
    Panel (*createPanel)(const char* title, int zero); // slot 0: null on failure
    void (*destroyPanel)(Panel panel);                 // slot 1: with its controls
    int (*openPanel)(Panel panel, int flags);          // slot 2: modal: nonzero for OK
    Reserved slot3, slot4, slot5;
    void (*getPanelAttribute)(Panel panel, int tag, int* out);      // slot 6
    void (*setPanelAttribute)(Panel panel, int tag, const int* in); // slot 7
    // slot 8: adds a control below the one added before it; null on failure
    Control* (*addControl)(Panel panel, const char* type, const ControlDesc* desc,
                           const char* label);
    Reserved slot9;
    const DrawFuncs* drawFuncs; // word 10
    Reserved word11;
    GlobalFunc globalFunc; // word 12: written by the plug-in on activation
};

static_assert(offsetof(PanelFuncs, openPanel) == slot(2));
static_assert(offsetof(PanelFuncs, getPanelAttribute) == slot(6));
static_assert(offsetof(PanelFuncs, addControl) == slot(8));
static_assert(offsetof(PanelFuncs, drawFuncs) == slot(10));
static_assert(offsetof(PanelFuncs, globalFunc) == slot(12));

} // namespace cadencora::host
