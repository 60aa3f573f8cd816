#include "ncor/ProgrammeData.h"

#include <utility>

namespace NCOR {

ParentalRatingData::ParentalRatingData()
    : m_scheme("dvb-si")
    , m_labels(0)
    , m_regionCode(0)
    , m_value(DEFAULT_VALUE)
{
}

ProgrammeData::ProgrammeData()
    : m_startTime(0)
    , m_duration(0)
    , m_programmeIDType(0)
    , m_hasSubtitles(0)
    , m_isHD(0)
    , m_audioType(0)
    , m_episode(0)
{
}

ProgrammeData::ProgrammeData(const ProgrammeData& other)
    : m_name(other.m_name)
    , m_description(other.m_description)
    , m_longDescription(other.m_longDescription)
    , m_startTime(other.m_startTime)
    , m_duration(other.m_duration)
    , m_channelID(other.m_channelID)
    , m_programmeID(other.m_programmeID)
    , m_programmeIDType(other.m_programmeIDType)
    , m_hasSubtitles(other.m_hasSubtitles)
    , m_isHD(other.m_isHD)
    , m_audioType(other.m_audioType)
    , m_genres(other.m_genres)
    , m_episode(other.m_episode)
{
    m_parentalRatings.reserve(other.m_parentalRatings.size());
    for (const ParentalRatingData* rating : other.m_parentalRatings) {
        m_parentalRatings.push_back(new ParentalRatingData(*rating));
    }
}

ProgrammeData& ProgrammeData::operator=(const ProgrammeData& other)
{
    if (this != &other) {
        ProgrammeData copy(other);
        std::swap(m_name, copy.m_name);
        std::swap(m_description, copy.m_description);
        std::swap(m_longDescription, copy.m_longDescription);
        m_startTime = copy.m_startTime;
        m_duration = copy.m_duration;
        std::swap(m_channelID, copy.m_channelID);
        std::swap(m_programmeID, copy.m_programmeID);
        m_programmeIDType = copy.m_programmeIDType;
        std::swap(m_parentalRatings, copy.m_parentalRatings);
        m_hasSubtitles = copy.m_hasSubtitles;
        m_isHD = copy.m_isHD;
        m_audioType = copy.m_audioType;
        std::swap(m_genres, copy.m_genres);
        m_episode = copy.m_episode;
    }
    return *this;
}

ProgrammeData::~ProgrammeData()
{
    clearParentalRatings();
}

void ProgrammeData::addParentalRating(ParentalRatingData* rating)
{
    if (rating != nullptr) {
        m_parentalRatings.push_back(rating);
    }
}

void ProgrammeData::clearParentalRatings()
{
    for (ParentalRatingData* rating : m_parentalRatings) {
        delete rating;
    }
    m_parentalRatings.clear();
}

} // namespace NCOR
