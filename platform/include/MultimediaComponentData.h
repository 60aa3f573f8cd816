// A media component of the browser's own player (an audio or subtitle track of broadband media).
#ifndef MULTIMEDIA_COMPONENT_DATA_H
#define MULTIMEDIA_COMPONENT_DATA_H

#include <cstdint>
#include <string>

class MultimediaComponentData {
public:
    virtual ~MultimediaComponentData() {}

    int kind = 0; // the player's own; not carried to the host
    std::string text1;
    std::string text2;
    uint32_t value1 = 0;
    bool flag = false;
    uint32_t value2 = 0;
    uint32_t value3 = 0;
    bool trailingFlag = false; // the player's own; not carried to the host
};

#endif
