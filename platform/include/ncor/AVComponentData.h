// The browser's records of one audio, video or subtitle component and of the media profiles
// that the device plays.
#ifndef NCOR_AVCOMPONENTDATA_H
#define NCOR_AVCOMPONENTDATA_H

#include <cstdint>
#include <string>
#include <vector>

#include "ncor/NcorTypes.h"

namespace NCOR {

// Members that do not apply to the component's type keep their defaults.
class AVComponentData {
public:
    AVComponentData();

    Broadcast::ComponentType getComponentType() const { return m_componentType; }
    void setComponentType(Broadcast::ComponentType value) { m_componentType = value; }

    // Video and audio.
    std::uint32_t getEncoding() const { return m_encoding; }
    void setEncoding(std::uint32_t value) { m_encoding = value; }
    std::uint8_t getEncrypted() const { return m_encrypted; }
    void setEncrypted(std::uint8_t value) { m_encrypted = value; }
    // Video.
    std::uint32_t getAspectRatio() const { return m_aspectRatio; }
    void setAspectRatio(std::uint32_t value) { m_aspectRatio = value; }
    // Audio and subtitles: the language code.
    const std::string& getLanguage() const { return m_language; }
    void setLanguage(const std::string& value) { m_language = value; }
    // Audio.
    std::uint8_t getAudioDescription() const { return m_audioDescription; }
    void setAudioDescription(std::uint8_t value) { m_audioDescription = value; }
    std::uint16_t getAudioChannels() const { return m_audioChannels; }
    void setAudioChannels(std::uint16_t value) { m_audioChannels = value; }
    // Subtitles.
    std::uint8_t getHearingImpaired() const { return m_hearingImpaired; }
    void setHearingImpaired(std::uint8_t value) { m_hearingImpaired = value; }
    // Identifies the component in select and unselect requests; -1 where unknown.
    std::int16_t getComponentTag() const { return m_componentTag; }
    void setComponentTag(std::int16_t value) { m_componentTag = value; }

private:
    Broadcast::ComponentType m_componentType;
    std::uint32_t m_encoding;
    std::uint8_t m_encrypted;
    std::uint32_t m_aspectRatio;
    std::string m_language;
    std::uint8_t m_audioDescription;
    std::uint16_t m_audioChannels;
    std::uint8_t m_hearingImpaired;
    std::int16_t m_componentTag;
};

class VideoProfileData {
public:
    VideoProfileData(
        const std::string& name, const std::string& mimeType, const std::string& drmSystemID = std::string());

    const std::string& getName() const { return m_name; }
    const std::string& getMimeType() const { return m_mimeType; }
    // DRM system that protects content of this profile; empty for clear content.
    const std::string& getDrmSystemID() const { return m_drmSystemID; }

private:
    std::string m_name;
    std::string m_mimeType;
    std::string m_drmSystemID;
};

class AudioProfileData {
public:
    AudioProfileData(const std::string& name, const std::string& mimeType);

    const std::string& getName() const { return m_name; }
    const std::string& getMimeType() const { return m_mimeType; }

private:
    std::string m_name;
    std::string m_mimeType;
};

// The profiles are held by value.
class AVProfileData {
public:
    AVProfileData();

    const std::vector<VideoProfileData>& getVideoProfiles() const { return m_videoProfiles; }
    const std::vector<AudioProfileData>& getAudioProfiles() const { return m_audioProfiles; }
    void addVideoProfile(const VideoProfileData& profile) { m_videoProfiles.push_back(profile); }
    void addAudioProfile(const AudioProfileData& profile) { m_audioProfiles.push_back(profile); }

    // Empties both lists.
    void clearAll();

private:
    std::vector<VideoProfileData> m_videoProfiles;
    std::vector<AudioProfileData> m_audioProfiles;
};

} // namespace NCOR

#endif
