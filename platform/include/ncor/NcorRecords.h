// All browser-side data records.
#ifndef NCOR_NCORRECORDS_H
#define NCOR_NCORRECORDS_H

#include "ncor/AITApplicationDescriptorData.h"
#include "ncor/AVComponentData.h"
#include "ncor/ChannelTunerData.h"
#include "ncor/NcorTypes.h"
#include "ncor/ProgrammeData.h"
#include "ncor/RecordingData.h"

#endif
