// Affected channels: the list of channel names that commands treat, the list box that shows it,
// and the channel-set files ("*.lw_channels", one name per line) that keep it.
//
// Works on the state record; calls the host's panel and message services and the C library. What
// is changed here lasts, whether or not the dialog is accepted.
#pragma once

#include "plugin/keys/channel_kinds.h"
#include "plugin/shell/tool_state.h"

namespace cadencora {

// The names that the list begins with: those of the standard channels.
inline constexpr const char* const (&defaultChannels)[numDefaultChannels + 1] =
    controllableChannels;

// Fills the list with the default names and forgets the toggles. A null record is ignored.
void createDefaultChannels(ToolState* state);

// Whether the name is in the list; whole names, without regard to case.
bool isActiveChannel(const char* name, const ToolState* state);

// Adds the list box and its row of four buttons, wired to the record.
void addChannelListBox(host::Panel panel, ToolState* state);

// The list box's callbacks; user data is the state record, null shows no rows.
int channelCount(void* userData);
const char* channelName(void* userData, int row);

// Event handlers; user data is the state record. The first serves every list box: it does nothing.
void listBoxEvent(host::Control* control, void* userData);
void loadChanSetsEvent(host::Control* control, void* userData);
void saveChanSetsEvent(host::Control* control, void* userData);
void deleteEvent(host::Control* control, void* userData);
void resetEvent(host::Control* control, void* userData);

// The list is replaced by the first 64 words of the file; a file that cannot be opened leaves it.
void loadChannelSets(const char* path, ToolState* state);
void saveChannelSets(const char* path, ToolState* state);

// Removes the last entry that equals the name without regard to case.
void deleteChannel(const char* name, ToolState* state);

} // namespace cadencora
