#include "ncor/AITApplicationDescriptorData.h"
#include "ncor/AVComponentData.h"

namespace NCOR {

AVComponentData::AVComponentData()
    : m_componentType(Broadcast::COMPONENT_TYPE_VIDEO)
    , m_encoding(0)
    , m_encrypted(0)
    , m_aspectRatio(0)
    , m_audioDescription(0)
    , m_audioChannels(0)
    , m_hearingImpaired(0)
    , m_componentTag(-1)
{
}

VideoProfileData::VideoProfileData(const std::string& name, const std::string& mimeType, const std::string& drmSystemID)
    : m_name(name)
    , m_mimeType(mimeType)
    , m_drmSystemID(drmSystemID)
{
}

AudioProfileData::AudioProfileData(const std::string& name, const std::string& mimeType)
    : m_name(name)
    , m_mimeType(mimeType)
{
}

AVProfileData::AVProfileData() = default;

void AVProfileData::clearAll()
{
    m_videoProfiles.clear();
    m_audioProfiles.clear();
}

AITApplicationDescriptorData::AITApplicationDescriptorData()
    : m_orgId(0)
    , m_appId(0)
    , m_controlCode(0)
    , m_protocolId(0)
    , m_visibility(0)
    , m_priority(0)
    , m_profile(0)
    , m_version(0)
    , m_serviceBound(0)
{
}

} // namespace NCOR
