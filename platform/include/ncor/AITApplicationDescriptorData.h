// The browser's record of one signalled application, reachable through one transport.
#ifndef NCOR_AITAPPLICATIONDESCRIPTORDATA_H
#define NCOR_AITAPPLICATIONDESCRIPTORDATA_H

#include <cstdint>
#include <string>
#include <vector>

namespace NCOR {

class AITApplicationDescriptorData {
public:
    AITApplicationDescriptorData();

    std::uint32_t getOrgId() const { return m_orgId; }
    void setOrgId(std::uint32_t value) { m_orgId = value; }
    std::uint16_t getAppId() const { return m_appId; }
    void setAppId(std::uint16_t value) { m_appId = value; }
    const std::string& getName() const { return m_name; }
    void setName(const std::string& value) { m_name = value; }
    // Transport base and initial path, joined.
    const std::string& getUrl() const { return m_url; }
    void setUrl(const std::string& value) { m_url = value; }
    std::uint32_t getControlCode() const { return m_controlCode; }
    void setControlCode(std::uint32_t value) { m_controlCode = value; }
    std::uint32_t getProtocolId() const { return m_protocolId; }
    void setProtocolId(std::uint32_t value) { m_protocolId = value; }
    std::uint16_t getVisibility() const { return m_visibility; }
    void setVisibility(std::uint16_t value) { m_visibility = value; }
    std::uint16_t getPriority() const { return m_priority; }
    void setPriority(std::uint16_t value) { m_priority = value; }
    std::uint32_t getProfile() const { return m_profile; }
    void setProfile(std::uint32_t value) { m_profile = value; }
    // Application version as 0xMMmmuu (major, minor, micro).
    std::uint32_t getVersion() const { return m_version; }
    void setVersion(std::uint32_t value) { m_version = value; }
    std::uint8_t getServiceBound() const { return m_serviceBound; }
    void setServiceBound(std::uint8_t value) { m_serviceBound = value; }
    const std::vector<std::string>& getBoundaries() const { return m_boundaries; }
    void setBoundaries(const std::vector<std::string>& value) { m_boundaries = value; }

private:
    std::uint32_t m_orgId;
    std::uint16_t m_appId;
    std::string m_name;
    std::string m_url;
    std::uint32_t m_controlCode;
    std::uint32_t m_protocolId;
    std::uint16_t m_visibility;
    std::uint16_t m_priority;
    std::uint32_t m_profile;
    std::uint32_t m_version;
    std::uint8_t m_serviceBound;
    std::vector<std::string> m_boundaries;
};

} // namespace NCOR

#endif
