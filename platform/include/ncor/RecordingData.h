// The browser's records of recordings, reminders and input sources. Plain values.
#ifndef NCOR_RECORDINGDATA_H
#define NCOR_RECORDINGDATA_H

#include <string>

#include "ncor/NcorTypes.h"

namespace NCOR {

// A recording as the browser asks for it: of a programme, or of a time span on a channel.
class RecordingData {
public:
    const std::string& getId() const { return m_id; }
    void setId(const std::string& value) { m_id = value; }
    const std::string& getName() const { return m_name; }
    void setName(const std::string& value) { m_name = value; }
    const std::string& getChannelID() const { return m_channelID; }
    void setChannelID(const std::string& value) { m_channelID = value; }
    const std::string& getProgrammeID() const { return m_programmeID; }
    void setProgrammeID(const std::string& value) { m_programmeID = value; }
    // Seconds since the epoch, and seconds.
    double getStartTime() const { return m_startTime; }
    void setStartTime(double value) { m_startTime = value; }
    double getDuration() const { return m_duration; }
    void setDuration(double value) { m_duration = value; }
    const std::string& getDescription() const { return m_description; }
    void setDescription(const std::string& value) { m_description = value; }

private:
    std::string m_id;
    std::string m_name;
    std::string m_channelID;
    std::string m_programmeID;
    double m_startTime = 0;
    double m_duration = 0;
    std::string m_description;
};

// A recording that the device has accepted, with its padding, repetition and state.
class ScheduledRecordingData {
public:
    const std::string& getId() const { return m_id; }
    void setId(const std::string& value) { m_id = value; }
    const std::string& getName() const { return m_name; }
    void setName(const std::string& value) { m_name = value; }
    const std::string& getChannelID() const { return m_channelID; }
    void setChannelID(const std::string& value) { m_channelID = value; }
    const std::string& getProgrammeID() const { return m_programmeID; }
    void setProgrammeID(const std::string& value) { m_programmeID = value; }
    double getStartTime() const { return m_startTime; }
    void setStartTime(double value) { m_startTime = value; }
    double getDuration() const { return m_duration; }
    void setDuration(double value) { m_duration = value; }
    // Seconds added before the start and after the end.
    int getStartPadding() const { return m_startPadding; }
    void setStartPadding(int value) { m_startPadding = value; }
    int getEndPadding() const { return m_endPadding; }
    void setEndPadding(int value) { m_endPadding = value; }
    // Bit set of week days (bit 0 Sunday) on which the recording repeats; 0 for once.
    unsigned int getRepeatDays() const { return m_repeatDays; }
    void setRepeatDays(unsigned int value) { m_repeatDays = value; }
    Broadcast::PVRState getState() const { return m_state; }
    void setState(Broadcast::PVRState value) { m_state = value; }

private:
    std::string m_id;
    std::string m_name;
    std::string m_channelID;
    std::string m_programmeID;
    double m_startTime = 0;
    double m_duration = 0;
    int m_startPadding = 0;
    int m_endPadding = 0;
    unsigned int m_repeatDays = 0;
    Broadcast::PVRState m_state = Broadcast::PVR_STATE_UNREALIZED;
};

// A reminder as the browser asks for it.
class ReminderData {
public:
    const std::string& getId() const { return m_id; }
    void setId(const std::string& value) { m_id = value; }
    const std::string& getName() const { return m_name; }
    void setName(const std::string& value) { m_name = value; }
    const std::string& getChannelID() const { return m_channelID; }
    void setChannelID(const std::string& value) { m_channelID = value; }
    const std::string& getProgrammeID() const { return m_programmeID; }
    void setProgrammeID(const std::string& value) { m_programmeID = value; }
    double getStartTime() const { return m_startTime; }
    void setStartTime(double value) { m_startTime = value; }

private:
    std::string m_id;
    std::string m_name;
    std::string m_channelID;
    std::string m_programmeID;
    double m_startTime = 0;
};

// A reminder that the device has accepted.
class ScheduledReminderData {
public:
    const std::string& getId() const { return m_id; }
    void setId(const std::string& value) { m_id = value; }
    const std::string& getName() const { return m_name; }
    void setName(const std::string& value) { m_name = value; }
    const std::string& getChannelID() const { return m_channelID; }
    void setChannelID(const std::string& value) { m_channelID = value; }
    const std::string& getProgrammeID() const { return m_programmeID; }
    void setProgrammeID(const std::string& value) { m_programmeID = value; }
    double getStartTime() const { return m_startTime; }
    void setStartTime(double value) { m_startTime = value; }
    Broadcast::ReminderState getState() const { return m_state; }
    void setState(Broadcast::ReminderState value) { m_state = value; }

private:
    std::string m_id;
    std::string m_name;
    std::string m_channelID;
    std::string m_programmeID;
    double m_startTime = 0;
    Broadcast::ReminderState m_state = Broadcast::REMINDER_STATE_ACCEPTED;
};

// One of the television's inputs (tuner, HDMI, ...).
class InputSourceData {
public:
    const std::string& getId() const { return m_id; }
    void setId(const std::string& value) { m_id = value; }
    const std::string& getName() const { return m_name; }
    void setName(const std::string& value) { m_name = value; }
    // Host-defined kind of input.
    int getType() const { return m_type; }
    void setType(int value) { m_type = value; }
    bool isConnected() const { return m_connected; }
    void setConnected(bool value) { m_connected = value; }

private:
    std::string m_id;
    std::string m_name;
    int m_type = 0;
    bool m_connected = false;
};

} // namespace NCOR

#endif
