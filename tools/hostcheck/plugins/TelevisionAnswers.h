// The answers of a television that keeps the contract, set on the simulated host: a lineup of three
// channels, the current channel, present and following programmes, a schedule, SI descriptors of
// the tag asked for, components of each type, a carousel mount point, configuration values and
// play states. Both host plugins start from these.
#ifndef HBBTV_HOST_CHECK_TELEVISION_ANSWERS_H
#define HBBTV_HOST_CHECK_TELEVISION_ANSWERS_H

#include "SimulatedHost.h"

namespace hbbtv_hostcheck_plugins {

void setTelevisionAnswers(hbbtv_sim::SimulatedHost& host);

// The play state the television answers a tune or bind with: unknown channel for the number 999,
// none (success) otherwise.
int playStateFor(int channelID3);

} // namespace hbbtv_hostcheck_plugins

#endif
