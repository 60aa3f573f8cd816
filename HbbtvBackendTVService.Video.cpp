// Video and component control: each operation sends one command and discards the answer.
#include <unistd.h>

#include <cstdio>

#include "HbbtvBackendTVService.h"
#include "plx_scope_lock.h"
#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {

// 1280 in the upper half, 720 in the lower.
const int kFullScreenWindow = (1280 << 16) | 720;

} // namespace

void HbbtvBackendTVService::openVideo()
{
    sendPlainCommand(DVBMediaPlayer_OpenVideo);
}

void HbbtvBackendTVService::stopVideo()
{
    if (trace::on()) trace::Line(trace::kind::request, "stopVideo");
    sendPlainCommand(DVBMediaPlayer_CloseVideo);
}

void HbbtvBackendTVService::releaseVideo()
{
    if (trace::on()) trace::Line(trace::kind::request, "releaseVideo");
    plx_scope_lock lock(&m_tvSericeMutex, "virtual void ZR_HBBTV_Core::HbbtvBackendTVService::releaseVideo()", 568);
    sendPlainCommand(VideoBroadcastElementEvent_ReleaseVideoControl);
}

void HbbtvBackendTVService::setViewport(bool fullScreen, int x, int y, int width, int height)
{
    if (trace::on()) trace::Line(trace::kind::request, "setViewport").arg(trace::argument::fullScreen, fullScreen).arg(trace::argument::x, x).arg(trace::argument::y, y).arg(trace::argument::width, width).arg(trace::argument::height, height);
    plx_scope_lock lock(&m_tvSericeMutex,
        "virtual void ZR_HBBTV_Core::HbbtvBackendTVService::setViewport(bool, int, int, int, int)", 437);
    // Packed without masking, as the host reads it: a negative y or height spills into x or width.
    const int position
        = fullScreen ? 0 : static_cast<int>((static_cast<unsigned int>(x) << 16) | static_cast<unsigned int>(y));
    const int size = fullScreen
        ? kFullScreenWindow
        : static_cast<int>((static_cast<unsigned int>(width) << 16) | static_cast<unsigned int>(height));
    sendPlainCommand(DVBMediaPlayer_SetDisplayWindow, position, size);
}

void HbbtvBackendTVService::selectAVComponent(const NCOR::AVComponentData& component)
{
    if (trace::on()) trace::Line(trace::kind::request, "selectAVComponent").arg(trace::argument::type, component.getComponentType()).arg(trace::argument::tag, component.getComponentTag());
    switchComponent(TunerCommand_SelectAVComponent, component);
}

void HbbtvBackendTVService::unselectAVComponent(const NCOR::AVComponentData& component)
{
    if (trace::on()) trace::Line(trace::kind::request, "unselectAVComponent").arg(trace::argument::type, component.getComponentType()).arg(trace::argument::tag, component.getComponentTag());
    switchComponent(TunerCommand_UnselectAVComponent, component);
}

void HbbtvBackendTVService::switchComponent(HbbtvBackendCommand command, const NCOR::AVComponentData& component)
{
    std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
    std::unique_ptr<HbbtvCommandPayload> payload(
        new HbbtvCommandPayload(command, component.getComponentType(), component.getComponentTag()));
    sendServiceRequest(payload, answer);
    usleep(5); // the host's component switch wants a moment before either record goes
}

bool HbbtvBackendTVService::canHandleDigitalTeletext()
{
    logNotImplemented("canHandleDigitalTeletext", 1922);
    return false;
}

void HbbtvBackendTVService::notifySelectedComponentChanged(NCOR::Broadcast::ComponentType)
{
    logNotImplemented("notifySelectedComponentChanged", 1944);
}

int HbbtvBackendTVService::extraSDVideoDecodes()
{
    return 0;
}

int HbbtvBackendTVService::extraHDVideoDecodes()
{
    return 0;
}

} // namespace ZR_HBBTV_Core
