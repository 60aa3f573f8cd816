// The TV-service interface: what the browser asks of the television's broadcast side.
//
// The order of the virtual operations is the binary contract with the browser: never reorder,
// insert or remove one. Operations with a body here are optional for an implementation; their
// body logs one "NOT IMPLEMENTED" line (debug priority, no tag) and returns a neutral value.
#ifndef ITVSERVICE_H
#define ITVSERVICE_H

#include <cstdint>
#include <string>
#include <vector>

#include <binder/IInterface.h>
#include <utils/String16.h>

#include "ncor/NcorRecords.h"

#define ITVSERVICE_VERSION "1.14"

class IAITSignallingClient;
class IChannelManagerClient;
class IDSMCCClient;
class IRecordingManagerClient;
class ITvConfigurationClient;

class ITVService : public android::IInterface {
public:
    static const android::String16 descriptor;
    // Answers only through the binder's local interface: there is no marshalling proxy, so a
    // binder that does not carry an ITVService gives null.
    static android::sp<ITVService> asInterface(const android::sp<android::IBinder>& binder);

    // A service states the interface version it was built against (ITVSERVICE_VERSION, through
    // BnTVService); the library reports a version other than its own in the platform log.
    static void checkVersion(const char* version);

    ITVService();

protected:
    ~ITVService() override;

public:
    virtual const android::String16& getInterfaceDescriptor() const;

    virtual void registerAITSignallingClient(const android::sp<IAITSignallingClient>& client) = 0;
    virtual void registerChannelManagerClient(const android::sp<IChannelManagerClient>& client) = 0;
    virtual void registerDSMCCClient(const android::sp<IDSMCCClient>& client) = 0;
    virtual void registerRecordingManagerClient(const android::sp<IRecordingManagerClient>& client);
    virtual void registerTvConfigurationClient(const android::sp<ITvConfigurationClient>& client) = 0;

    virtual bool requestOCResourceMount(const std::string& url, std::string& mountPoint) = 0;
    virtual void suspendBroadcastService() = 0;
    virtual void resumeBroadcastService() = 0;
    virtual bool isBroadcastServiceSuspended() = 0;
    virtual void registerStreamEvent(const std::string& target, const std::string& eventName) = 0;
    virtual void registerStreamEvent(const std::string& target, const std::string& eventName, bool flag, long number);
    virtual void unregisterStreamEvent(const std::string& target, const std::string& eventName) = 0;
    virtual void unregisterAllStreamEvents() = 0;

    virtual bool getCurrentChannel(NCOR::ChannelTunerData& channel) = 0;
    virtual bool getChannelList(std::vector<NCOR::ChannelTunerData*>& channels) = 0;
    virtual bool canResolveURI(const std::string& uri) = 0;
    virtual void setViewport(bool fullScreen, int x, int y, int width, int height) = 0;
    virtual NCOR::Broadcast::PlayStateError bindToCurrentChannel(const NCOR::ChannelTunerData& channel);
    virtual NCOR::Broadcast::PlayStateError tune(const NCOR::ChannelTunerData& channel) = 0;
    virtual void stopVideo() = 0;
    virtual void releaseVideo() = 0;

    virtual void getProgrammes(std::vector<NCOR::ProgrammeData*>& programmes) = 0;
    virtual void getSIDescriptors(const std::string& programmeID, NCOR::EIT::DescriptorTag tag,
        NCOR::EIT::ExtensionDescriptorTag extensionTag, std::vector<std::vector<unsigned char>>& descriptors);
    virtual bool getAllProgrammesForChannel(
        const NCOR::ChannelTunerData& channel, std::vector<NCOR::ProgrammeData*>& programmes);

    virtual void getAVComponents(NCOR::Broadcast::ComponentType type, std::vector<NCOR::AVComponentData*>& components)
        = 0;
    virtual void getActiveAVComponents(
        NCOR::Broadcast::ComponentType type, std::vector<NCOR::AVComponentData*>& components)
        = 0;
    virtual void selectAVComponent(const NCOR::AVComponentData& component) = 0;
    virtual void unselectAVComponent(const NCOR::AVComponentData& component) = 0;
    virtual void selectAVComponentByType(NCOR::Broadcast::ComponentType type);
    virtual void unselectAVComponentByType(NCOR::Broadcast::ComponentType type);
    virtual bool isTrickPlaySupported() = 0;

    virtual bool getAudioDescriptionEnable();
    virtual void getPreferredAudioLanguage(std::string& language) = 0;
    virtual void setPreferredAudioLanguage(const std::string& language) = 0;
    virtual void getPreferredSubtitleLanguage(std::string& language) = 0;
    virtual void setPreferredSubtitleLanguage(const std::string& language) = 0;
    virtual void getCountryId(std::string& country) = 0;
    virtual void setCountryId(const std::string& country) = 0;
    virtual unsigned int getRegionId() = 0;
    virtual void setRegionId(unsigned int region) = 0;

    virtual NCOR::Broadcast::PVRPolicy getPvrPolicy() = 0;
    virtual void setPvrPolicy(NCOR::Broadcast::PVRPolicy policy) = 0;
    virtual unsigned int getPvrSaveEpisodes() = 0;
    virtual void setPvrSaveEpisodes(unsigned int episodes) = 0;
    virtual unsigned int getPvrSaveDays() = 0;
    virtual void setPvrSaveDays(unsigned int days) = 0;
    virtual int getPvrStartPadding() = 0;
    virtual void setPvrStartPadding(int seconds) = 0;
    virtual int getPvrEndPadding() = 0;
    virtual void setPvrEndPadding(int seconds) = 0;

    virtual bool canScheduleRecordings() const;
    virtual NCOR::Broadcast::RecordingState scheduleRecording(const NCOR::RecordingData& recording);
    virtual void removeRecording(const NCOR::ScheduledRecordingData& recording);
    virtual void updateScheduledRecording(const NCOR::ScheduledRecordingData& recording);
    virtual NCOR::Broadcast::RecordingState startRecording(const NCOR::RecordingData& recording);
    virtual NCOR::Broadcast::RecordingState stopRecording(const NCOR::RecordingData& recording);
    virtual void getRecordings(std::vector<NCOR::RecordingData*>& recordings);
    virtual void getScheduledRecordings(std::vector<NCOR::ScheduledRecordingData*>& recordings);

    virtual bool getParentalControlPINEnable() = 0;
    virtual bool verifyParentalControlPIN(const std::string& pin) = 0;
    virtual int getParentalControlThreshold() = 0;

    virtual void getModelName(std::string& name);
    virtual void getSoftwareVersion(std::string& version);
    virtual void getHardwareVersion(std::string& version);
    virtual void getSerialNumber(std::string& number);
    virtual bool pvrSupported() = 0;
    virtual void getSupportedAVProfiles(NCOR::AVProfileData& profiles) = 0;
    virtual void getSupportedParentalSchemes(std::vector<std::string>& schemes) = 0;
    virtual void getSupportedChannelIDType(std::vector<NCOR::Broadcast::ChannelIDType>& types) = 0;
    virtual int extraSDVideoDecodes() = 0;
    virtual int extraHDVideoDecodes() = 0;

    virtual void leaveLiveIn();
    virtual void returnLiveIn();

    virtual bool reminderSupported();
    virtual bool canScheduleReminders();
    virtual NCOR::Broadcast::ReminderState scheduleReminder(const NCOR::ReminderData& reminder);
    virtual void removeReminder(const NCOR::ScheduledReminderData& reminder);
    virtual void updateScheduledReminder(const NCOR::ScheduledReminderData& reminder);
    virtual void getScheduledReminders(std::vector<NCOR::ScheduledReminderData*>& reminders);

    virtual NCOR::Broadcast::PlayStateError bindToCurrentInput();
    virtual bool getCurrentInputSource(NCOR::InputSourceData& source);
};

// The local side of the interface. Marshalling belongs to the television's own TV-service
// library; in this build the browser reaches the service in process, so every transaction is
// unknown here.
class BnTVService : public android::BnInterface<ITVService> {
public:
    BnTVService() { checkVersion(ITVSERVICE_VERSION); }

    android::status_t onTransact(
        uint32_t code, const android::Parcel& data, android::Parcel* reply, uint32_t flags = 0) override;
};

#endif
