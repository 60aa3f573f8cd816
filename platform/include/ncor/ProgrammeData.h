// The browser's records of one broadcast programme and of one parental rating.
#ifndef NCOR_PROGRAMMEDATA_H
#define NCOR_PROGRAMMEDATA_H

#include <cstdint>
#include <string>
#include <vector>

namespace NCOR {

class ParentalRatingData {
public:
    // A rating that no one has set: no age limit.
    static constexpr int DEFAULT_VALUE = 0;

    ParentalRatingData();

    const std::string& getName() const { return m_name; }
    void setName(const std::string& value) { m_name = value; }
    // Rating scheme; "dvb-si" unless set.
    const std::string& getScheme() const { return m_scheme; }
    void setScheme(const std::string& value) { m_scheme = value; }

    int getLabels() const { return m_labels; }
    void setLabels(int value) { m_labels = value; }
    int getRegionCode() const { return m_regionCode; }
    void setRegionCode(int value) { m_regionCode = value; }
    // The rating itself (for "dvb-si" the DVB rating byte: minimum age less three).
    int getValue() const { return m_value; }
    void setValue(int value) { m_value = value; }

    const std::string& getRegion() const { return m_region; }
    void setRegion(const std::string& value) { m_region = value; }

private:
    std::string m_name;
    std::string m_scheme;
    int m_labels;
    int m_regionCode;
    int m_value;
    std::string m_region;
};

// One programme. The programme owns the rating records in its rating list: addParentalRating
// hands a record over, the destructor frees them, and copies get rating records of their own.
class ProgrammeData {
public:
    ProgrammeData();
    ProgrammeData(const ProgrammeData& other);
    ProgrammeData& operator=(const ProgrammeData& other);
    ~ProgrammeData();

    const std::string& getName() const { return m_name; }
    void setName(const std::string& value) { m_name = value; }
    const std::string& getDescription() const { return m_description; }
    void setDescription(const std::string& value) { m_description = value; }
    const std::string& getLongDescription() const { return m_longDescription; }
    void setLongDescription(const std::string& value) { m_longDescription = value; }

    // Seconds since the epoch, and seconds.
    double getStartTime() const { return m_startTime; }
    void setStartTime(double value) { m_startTime = value; }
    double getDuration() const { return m_duration; }
    void setDuration(double value) { m_duration = value; }

    // Identifier of the channel that carries the programme.
    const std::string& getChannelID() const { return m_channelID; }
    void setChannelID(const std::string& value) { m_channelID = value; }
    const std::string& getProgrammeID() const { return m_programmeID; }
    void setProgrammeID(const std::string& value) { m_programmeID = value; }
    std::uint8_t getProgrammeIDType() const { return m_programmeIDType; }
    void setProgrammeIDType(std::uint8_t value) { m_programmeIDType = value; }

    const std::vector<ParentalRatingData*>& getParentalRatings() const { return m_parentalRatings; }
    // Takes ownership of the record; a null pointer is ignored.
    void addParentalRating(ParentalRatingData* rating);
    void clearParentalRatings();

    std::uint8_t getHasSubtitles() const { return m_hasSubtitles; }
    void setHasSubtitles(std::uint8_t value) { m_hasSubtitles = value; }
    std::uint8_t getIsHD() const { return m_isHD; }
    void setIsHD(std::uint8_t value) { m_isHD = value; }
    std::uint8_t getAudioType() const { return m_audioType; }
    void setAudioType(std::uint8_t value) { m_audioType = value; }

    const std::vector<std::string>& getGenres() const { return m_genres; }
    void setGenres(const std::vector<std::string>& value) { m_genres = value; }
    void addGenre(const std::string& value) { m_genres.push_back(value); }

    std::uint16_t getEpisode() const { return m_episode; }
    void setEpisode(std::uint16_t value) { m_episode = value; }

private:
    std::string m_name;
    std::string m_description;
    std::string m_longDescription;
    double m_startTime;
    double m_duration;
    std::string m_channelID;
    std::string m_programmeID;
    std::uint8_t m_programmeIDType;
    std::vector<ParentalRatingData*> m_parentalRatings;
    std::uint8_t m_hasSubtitles;
    std::uint8_t m_isHD;
    std::uint8_t m_audioType;
    std::vector<std::string> m_genres;
    std::uint16_t m_episode;
};

} // namespace NCOR

#endif
