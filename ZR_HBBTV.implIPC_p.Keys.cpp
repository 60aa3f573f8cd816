// Key routing: a host key goes to the browser as a press and a release event; the browser's
// answers decide whether the key was consumed.
#include <cstdio>

#include "ZR_HBBTV.implIPC_p.h"
#include "ZR_HBBTV_KeyMapping.h"
#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {
const uint32_t kKeyPending = 0;
const uint32_t kKeyConsumed = 1;
const uint32_t kKeyNotConsumed = 2;
} // namespace

bool ZR_HbbtvImplPrivate::keyClick(unsigned int key)
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled || m_browserService == nullptr) {
        return false;
    }
    const int code = ZR_HBBTV_KeyMapping::zuk2InterfaceKey(static_cast<int>(key));
    if (code == -1) {
        return false;
    }
    m_keyState = kKeyPending;
    // Ids start at 0 and every key takes two, so the press has an even id and the release the
    // next, odd one. Both go out under the lock: their answers are handled after this returns.
    m_keys[_keyID] = keyInfo{key, false};
    if (trace::on()) trace::Line(trace::kind::key, "sendKeyEvent").arg("id", _keyID).arg("key", key).arg("code", code).arg("down", 1);
    m_browserService->sendKeyEvent(static_cast<int>(_keyID), code, 1, 0, 0);
    ++_keyID;
    m_keys[_keyID] = keyInfo{key, false};
    if (trace::on()) trace::Line(trace::kind::key, "sendKeyEvent").arg("id", _keyID).arg("key", key).arg("code", code).arg("down", 0);
    m_browserService->sendKeyEvent(static_cast<int>(_keyID), code, 0, 0, 0);
    ++_keyID;
    return true;
}

void ZR_HbbtvImplPrivate::notifyKeyEventConsumed(int eventId, bool consumed)
{
    if (trace::on()) trace::Line(trace::kind::browser, "notifyKeyEventConsumed").arg("id", eventId).arg("consumed", consumed);
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled) {
        return;
    }
    const unsigned int id = static_cast<unsigned int>(eventId);
    const std::map<unsigned int, keyInfo>::iterator entry = m_keys.find(id);
    if (entry == m_keys.end()) {
        printf("Browser cant realize this key : %d\n", eventId);
        return;
    }
    entry->second.consumed = consumed;
    // The remainder keeps the dividend's sign: a negative odd id counts as a press.
    if (eventId % 2 != 1) {
        return;
    }
    if (consumed) {
        m_keyState = kKeyConsumed;
    } else {
        m_keyState = kKeyNotConsumed;
        const std::map<unsigned int, keyInfo>::const_iterator press = m_keys.find(id - 1);
        if (press != m_keys.end() && press->second.consumed) {
            m_keyState = kKeyConsumed;
        }
    }
    m_keys.erase(id);
    m_keys.erase(id - 1);
    Locker<Mutex> waiting(m_keyWaitMutex);
    m_keyVerdict.broadcast();
}

bool ZR_HbbtvImplPrivate::IsKeyHandled()
{
    return m_keyState.load(std::memory_order_relaxed) != kKeyPending;
}

bool ZR_HbbtvImplPrivate::KeyConsumedStatus()
{
    return m_keyState.load(std::memory_order_relaxed) != kKeyNotConsumed;
}

bool ZR_HbbtvImplPrivate::waitKeyHandled(double seconds)
{
    const double deadline = currentTime() + seconds;
    Locker<Mutex> lock(m_keyWaitMutex);
    // The verdict (or the teardown) is stored before the broadcast, which takes this lock: one
    // that arrives between the check and the wait still wakes it.
    while (!IsKeyHandled()) {
        // Torn down: no verdict is taken any more, so there is none to wait for.
        if (m_tornDown) {
            return false;
        }
        if (!m_keyVerdict.timedWait(m_keyWaitMutex, deadline)) {
            return IsKeyHandled();
        }
    }
    return true;
}

} // namespace ZR_HBBTV_Core
