// Enumerations shared by the browser-side data records and the TV-service interface.
//
// Every enumeration has a fixed underlying type: values arrive from the host as plain integers
// and are cast in unchecked, so any value of the underlying type must be a valid value.
#ifndef NCOR_NCORTYPES_H
#define NCOR_NCORTYPES_H

#include <cstdint>

namespace NCOR {
namespace Broadcast {

enum ChannelType : int {
    TYPE_TV = 0,
    TYPE_RADIO = 1,
    TYPE_OTHER = 2,
};

// The OIPF channel identifier types.
enum ChannelIDType : int {
    ID_ANALOG = 0,
    ID_DVB_C = 10,
    ID_DVB_S = 11,
    ID_DVB_T = 12,
    ID_DVB_SI_DIRECT = 13,
    ID_DVB_C2 = 14,
    ID_DVB_S2 = 15,
    ID_DVB_T2 = 16,
    ID_ISDB_C = 20,
    ID_ISDB_S = 21,
    ID_ISDB_T = 22,
    ID_ATSC_T = 30,
    ID_IPTV_SDS = 40,
    ID_IPTV_URI = 41,
};

// Outcome of a tune or bind request, in the numbering of the OIPF video/broadcast errors, plus
// the value that reports success.
enum PlayStateError : int {
    PLAY_ERROR_CHANNEL_NOT_SUPPORTED = 0,
    PLAY_ERROR_CANNOT_TUNE = 1,
    PLAY_ERROR_TUNER_LOCKED = 2,
    PLAY_ERROR_PARENTAL_LOCK = 3,
    PLAY_ERROR_ENCRYPTED_CHANNEL = 4,
    PLAY_ERROR_UNKNOWN_CHANNEL = 5,
    PLAY_ERROR_CHANNEL_SWITCH_INTERRUPTED = 6,
    PLAY_ERROR_RECORDING_IN_PROGRESS = 7,
    PLAY_ERROR_CANNOT_RESOLVE_URI = 8,
    PLAY_ERROR_INSUFFICIENT_BANDWIDTH = 9,
    PLAY_ERROR_CANNOT_CHANGE_CHANNEL = 10,
    PLAY_ERROR_INSUFFICIENT_RESOURCES = 11,
    PLAY_ERROR_CHANNEL_NOT_IN_STREAM = 12,
    PLAY_ERROR_UNDEFINED = 100,
    PLAY_ERROR_NONE = 101,
};

enum ComponentType : int {
    COMPONENT_TYPE_VIDEO = 0,
    COMPONENT_TYPE_AUDIO = 1,
    COMPONENT_TYPE_SUBTITLE = 2,
};

// Which recordings the device may delete to make room.
enum PVRPolicy : int {
    PVR_POLICY_DELETE_NONE = 0,
    PVR_POLICY_DELETE_WATCHED = 1,
    PVR_POLICY_DELETE_OLDER_THAN_SAVE_DAYS = 2,
};

// Life of a recording as reported to the browser.
enum PVRState : int {
    PVR_STATE_UNREALIZED = 0,
    PVR_STATE_SCHEDULED = 1,
    PVR_STATE_DELETE_SCHEDULED = 2,
    PVR_STATE_PRESTART = 3,
    PVR_STATE_ACQUIRING_RESOURCES = 4,
    PVR_STATE_STARTED = 5,
    PVR_STATE_UPDATED = 6,
    PVR_STATE_COMPLETED = 7,
    PVR_STATE_PARTIALLY_COMPLETED = 8,
    PVR_STATE_ERROR = 9,
};

// Answer to a recording request.
enum RecordingState : int {
    RECORDING_STATE_ACCEPTED = 0,
    RECORDING_STATE_STARTED = 1,
    RECORDING_STATE_STOPPED = 2,
    RECORDING_STATE_REFUSED = 3,
    RECORDING_STATE_NOT_SUPPORTED = 4,
};

// Answer to a reminder request.
enum ReminderState : int {
    REMINDER_STATE_ACCEPTED = 0,
    REMINDER_STATE_TRIGGERED = 1,
    REMINDER_STATE_REMOVED = 2,
    REMINDER_STATE_REFUSED = 3,
    REMINDER_STATE_NOT_SUPPORTED = 4,
};

} // namespace Broadcast

namespace EIT {

// DVB SI descriptor tags that occur in event information.
enum DescriptorTag : std::uint8_t {
    DESCRIPTOR_LINKAGE = 0x4A,
    DESCRIPTOR_SHORT_EVENT = 0x4D,
    DESCRIPTOR_EXTENDED_EVENT = 0x4E,
    DESCRIPTOR_TIME_SHIFTED_EVENT = 0x4F,
    DESCRIPTOR_COMPONENT = 0x50,
    DESCRIPTOR_CA_IDENTIFIER = 0x53,
    DESCRIPTOR_CONTENT = 0x54,
    DESCRIPTOR_PARENTAL_RATING = 0x55,
    DESCRIPTOR_TELEPHONE = 0x57,
    DESCRIPTOR_MULTILINGUAL_COMPONENT = 0x5E,
    DESCRIPTOR_PRIVATE_DATA_SPECIFIER = 0x5F,
    DESCRIPTOR_SHORT_SMOOTHING_BUFFER = 0x61,
    DESCRIPTOR_DATA_BROADCAST = 0x64,
    DESCRIPTOR_PDC = 0x69,
    DESCRIPTOR_AC3 = 0x6A,
    DESCRIPTOR_ENHANCED_AC3 = 0x7A,
    DESCRIPTOR_CONTENT_IDENTIFIER = 0x76,
    DESCRIPTOR_DTS = 0x7B,
    DESCRIPTOR_AAC = 0x7C,
    DESCRIPTOR_EXTENSION = 0x7F,
};

// Tags carried inside the extension descriptor (DESCRIPTOR_EXTENSION).
enum ExtensionDescriptorTag : std::uint8_t {
    EXTENSION_IMAGE_ICON = 0x00,
    EXTENSION_CPCM_DELIVERY_SIGNALLING = 0x01,
    EXTENSION_CP = 0x02,
    EXTENSION_CP_IDENTIFIER = 0x03,
    EXTENSION_SUPPLEMENTARY_AUDIO = 0x06,
    EXTENSION_MESSAGE = 0x08,
    EXTENSION_TARGET_REGION = 0x09,
    EXTENSION_TARGET_REGION_NAME = 0x0A,
    EXTENSION_VIDEO_DEPTH_RANGE = 0x10,
    EXTENSION_URI_LINKAGE = 0x13,
    EXTENSION_CI_ANCILLARY_DATA = 0x14,
    EXTENSION_AC4 = 0x15,
    EXTENSION_AUDIO_PRESELECTION = 0x19,
};

} // namespace EIT
} // namespace NCOR

#endif
