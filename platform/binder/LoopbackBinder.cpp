// The loopback binder runtime: the binder transport for machines without a binder driver.
// Services live in this process. The service manager hands out for each registered service a
// proxy whose local interface is the service itself, so that interface_cast yields the service,
// and which can be killed (LoopbackBinder.h) to deliver death notices as the driver would.
// Nothing is marshalled: Parcel is never touched here.
#include "LoopbackBinder.h"

#include <unistd.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include <binder/Binder.h>
#include <binder/IBinder.h>
#include <binder/IInterface.h>
#include <binder/IServiceManager.h>

namespace android {
namespace {

// Objects attached to a binder; their cleanup functions run when the binder goes.
class AttachedObjects {
public:
    AttachedObjects() = default;
    AttachedObjects(const AttachedObjects&) = delete;
    AttachedObjects& operator=(const AttachedObjects&) = delete;

    ~AttachedObjects()
    {
        for (const auto& [id, entry] : m_objects) {
            if (entry.func != nullptr) {
                entry.func(id, entry.object, entry.cleanupCookie);
            }
        }
    }

    void attach(const void* id, void* object, void* cleanupCookie, IBinder::object_cleanup_func func)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        // A second attachment under the same id is ignored: the first owner keeps its cleanup.
        m_objects.emplace(id, Entry{object, cleanupCookie, func});
    }

    void* find(const void* id) const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto it = m_objects.find(id);
        return it != m_objects.end() ? it->second.object : nullptr;
    }

    void detach(const void* id)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_objects.erase(id);
    }

private:
    struct Entry {
        void* object;
        void* cleanupCookie;
        IBinder::object_cleanup_func func;
    };

    mutable std::mutex m_mutex;
    std::map<const void*, Entry> m_objects;
};

// What the service manager hands out for a registered service: stands for the service as a
// remote binder would, forwards to it while alive, and carries the death links.
class LoopbackProxy : public IBinder {
public:
    explicit LoopbackProxy(const sp<IBinder>& service)
        : m_descriptor(service->getInterfaceDescriptor()), m_service(service)
    {
    }

    // The service while alive, null once dead.
    sp<IBinder> target() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_service;
    }

    sp<IInterface> queryLocalInterface(const String16& descriptor) override
    {
        const sp<IBinder> service = target();
        return service != nullptr ? service->queryLocalInterface(descriptor) : nullptr;
    }

    // Kept from registration: the answer must outlive the service, as it does on a device.
    const String16& getInterfaceDescriptor() const override { return m_descriptor; }

    bool isBinderAlive() const override { return target() != nullptr; }

    status_t pingBinder() override
    {
        const sp<IBinder> service = target();
        return service != nullptr ? service->pingBinder() : DEAD_OBJECT;
    }

    status_t dump(int fd, const Vector<String16>& args) override
    {
        const sp<IBinder> service = target();
        return service != nullptr ? service->dump(fd, args) : DEAD_OBJECT;
    }

    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override
    {
        const sp<IBinder> service = target();
        return service != nullptr ? service->transact(code, data, reply, flags) : DEAD_OBJECT;
    }

    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie, uint32_t flags) override
    {
        if (recipient == nullptr) {
            return BAD_VALUE;
        }
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_service == nullptr) {
            return DEAD_OBJECT;
        }
        m_links.push_back(Link{recipient, cookie, flags});
        return NO_ERROR;
    }

    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie, uint32_t flags,
                           wp<DeathRecipient>* outRecipient) override
    {
        // Released after the lock: dropping the last weak reference may destroy a recipient.
        wp<DeathRecipient> removed;
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_service == nullptr) {
            return DEAD_OBJECT;
        }
        for (auto it = m_links.begin(); it != m_links.end(); ++it) {
            const bool same = recipient.unsafe_get() != nullptr ? it->recipient == recipient
                                                                : it->cookie == cookie;
            if (same && it->flags == flags) {
                removed = it->recipient;
                if (outRecipient != nullptr) {
                    *outRecipient = removed;
                }
                m_links.erase(it);
                return NO_ERROR;
            }
        }
        return NAME_NOT_FOUND;
    }

    void attachObject(const void* id, void* object, void* cleanupCookie, object_cleanup_func func) override
    {
        m_objects.attach(id, object, cleanupCookie, func);
    }
    void* findObject(const void* id) const override { return m_objects.find(id); }
    void detachObject(const void* id) override { m_objects.detach(id); }

    // Turns the binder dead and notifies its recipients, with no lock held while they run.
    void die()
    {
        sp<IBinder> service;
        std::vector<Link> links;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            service = std::move(m_service);
            links.swap(m_links);
        }
        if (service == nullptr) {
            return;
        }
        const wp<IBinder> who(this);
        for (const Link& link : links) {
            // Recipients are held weakly: one that is gone is skipped.
            if (const sp<DeathRecipient> recipient = link.recipient.promote()) {
                recipient->binderDied(who);
            }
        }
        // The service itself goes last, after every notice, and on this thread.
    }

private:
    struct Link {
        wp<DeathRecipient> recipient;
        void* cookie;
        uint32_t flags;
    };

    const String16 m_descriptor;
    mutable std::mutex m_mutex;
    sp<IBinder> m_service;
    std::vector<Link> m_links;
    AttachedObjects m_objects;
};

// The registry behind defaultServiceManager(). getService answers at once: a caller that waits
// for a service does its own loop of look-ups.
class LoopbackServiceManager : public IServiceManager, public BBinder {
public:
    const String16& getInterfaceDescriptor() const override
    {
        return IServiceManager::getInterfaceDescriptor();
    }

    sp<IBinder> getService(const String16& name) const override { return checkService(name); }

    sp<IBinder> checkService(const String16& name) const override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto it = m_services.find(name);
        return it != m_services.end() ? it->second.proxy : nullptr;
    }

    status_t addService(const String16& name, const sp<IBinder>& service, bool, int dumpsysFlags) override
    {
        if (service == nullptr) {
            return BAD_VALUE;
        }
        const sp<LoopbackProxy> proxy = new LoopbackProxy(service);
        Entry replaced;  // released after the lock
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            Entry& entry = m_services[name];
            replaced = std::move(entry);
            entry = Entry{proxy, dumpsysFlags};
        }
        m_added.notify_all();
        return NO_ERROR;
    }

    Vector<String16> listServices(int dumpsysFlags) override
    {
        Vector<String16> names;
        std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& [name, entry] : m_services) {
            if ((entry.dumpsysFlags & dumpsysFlags) != 0) {
                names.add(name);
            }
        }
        return names;
    }

    sp<IBinder> waitForService(const String16& name) override
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_added.wait(lock, [&] { return m_services.count(name) != 0; });
        return m_services.find(name)->second.proxy;
    }

    bool isDeclared(const String16& name) override { return checkService(name) != nullptr; }

    IBinder* onAsBinder() override { return this; }

    bool kill(const String16& name)
    {
        sp<LoopbackProxy> proxy;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            const auto it = m_services.find(name);
            if (it == m_services.end()) {
                return false;
            }
            proxy = std::move(it->second.proxy);
            m_services.erase(it);
        }
        proxy->die();
        return true;
    }

    void forgetAll()
    {
        std::map<String16, Entry> forgotten;  // released after the lock
        std::lock_guard<std::mutex> lock(m_mutex);
        forgotten.swap(m_services);
    }

private:
    struct Entry {
        sp<LoopbackProxy> proxy;
        int dumpsysFlags = 0;
    };

    mutable std::mutex m_mutex;
    std::condition_variable m_added;
    std::map<String16, Entry> m_services;
};

sp<LoopbackServiceManager> registry()
{
    // Lives as long as the process, as a driver-held registration would: destroying it during
    // static destruction would tear services down while other threads may still call them.
    static const sp<LoopbackServiceManager>* const manager =
        new sp<LoopbackServiceManager>(new LoopbackServiceManager);
    return *manager;
}

const String16& emptyDescriptor()
{
    static const String16 empty;
    return empty;
}

} // namespace

// ---- IBinder ------------------------------------------------------------------------------------

IBinder::IBinder() = default;
IBinder::~IBinder() = default;

sp<IInterface> IBinder::queryLocalInterface(const String16&)
{
    return nullptr;
}

status_t IBinder::shellCommand(const sp<IBinder>&, int, int, int, Vector<String16>&,
                               const sp<IShellCallback>&, const sp<IResultReceiver>&)
{
    return INVALID_OPERATION;
}

status_t IBinder::getExtension(sp<IBinder>* out)
{
    if (BBinder* local = localBinder()) {
        *out = local->getExtension();
        return NO_ERROR;
    }
    if (const LoopbackProxy* proxy = dynamic_cast<const LoopbackProxy*>(this)) {
        const sp<IBinder> service = proxy->target();
        return service != nullptr ? service->getExtension(out) : DEAD_OBJECT;
    }
    return INVALID_OPERATION;
}

status_t IBinder::getDebugPid(pid_t* outPid)
{
    if (!isBinderAlive()) {
        return DEAD_OBJECT;
    }
    *outPid = getpid();  // every binder here lives in this process
    return NO_ERROR;
}

bool IBinder::checkSubclass(const void*) const
{
    return false;
}

BBinder* IBinder::localBinder()
{
    return nullptr;
}

BpBinder* IBinder::remoteBinder()
{
    return nullptr;
}

// ---- BBinder ------------------------------------------------------------------------------------

class BBinder::Extras {
public:
    std::mutex mutex;
    sp<IBinder> extension;
    bool requestingSid = false;
    AttachedObjects objects;
};

BBinder::BBinder() : mExtras(nullptr), mReserved0(nullptr) {}

BBinder::~BBinder()
{
    delete mExtras.load(std::memory_order_acquire);
}

const String16& BBinder::getInterfaceDescriptor() const
{
    return emptyDescriptor();
}

bool BBinder::isBinderAlive() const
{
    return true;
}

status_t BBinder::pingBinder()
{
    return NO_ERROR;
}

status_t BBinder::dump(int, const Vector<String16>&)
{
    return NO_ERROR;
}

status_t BBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags)
{
    // A ping needs no reply here; every other code is the subclass's business.
    if (code == PING_TRANSACTION) {
        return pingBinder();
    }
    return onTransact(code, data, reply, flags);
}

status_t BBinder::onTransact(uint32_t, const Parcel&, Parcel*, uint32_t)
{
    return UNKNOWN_TRANSACTION;
}

// A local binder cannot die without its user dying too: link on the binder that the service
// manager handed out instead.
status_t BBinder::linkToDeath(const sp<DeathRecipient>&, void*, uint32_t)
{
    return INVALID_OPERATION;
}

status_t BBinder::unlinkToDeath(const wp<DeathRecipient>&, void*, uint32_t, wp<DeathRecipient>*)
{
    return INVALID_OPERATION;
}

void BBinder::attachObject(const void* id, void* object, void* cleanupCookie, object_cleanup_func func)
{
    getOrCreateExtras()->objects.attach(id, object, cleanupCookie, func);
}

void* BBinder::findObject(const void* id) const
{
    const Extras* extras = mExtras.load(std::memory_order_acquire);
    return extras != nullptr ? extras->objects.find(id) : nullptr;
}

void BBinder::detachObject(const void* id)
{
    if (Extras* extras = mExtras.load(std::memory_order_acquire)) {
        extras->objects.detach(id);
    }
}

BBinder* BBinder::localBinder()
{
    return this;
}

bool BBinder::isRequestingSid()
{
    Extras* extras = mExtras.load(std::memory_order_acquire);
    if (extras == nullptr) {
        return false;
    }
    std::lock_guard<std::mutex> lock(extras->mutex);
    return extras->requestingSid;
}

void BBinder::setRequestingSid(bool requestSid)
{
    Extras* extras = getOrCreateExtras();
    std::lock_guard<std::mutex> lock(extras->mutex);
    extras->requestingSid = requestSid;
}

sp<IBinder> BBinder::getExtension()
{
    Extras* extras = mExtras.load(std::memory_order_acquire);
    if (extras == nullptr) {
        return nullptr;
    }
    std::lock_guard<std::mutex> lock(extras->mutex);
    return extras->extension;
}

void BBinder::setExtension(const sp<IBinder>& extension)
{
    Extras* extras = getOrCreateExtras();
    std::lock_guard<std::mutex> lock(extras->mutex);
    extras->extension = extension;
}

pid_t BBinder::getDebugPid()
{
    return getpid();
}

BBinder::Extras* BBinder::getOrCreateExtras()
{
    Extras* extras = mExtras.load(std::memory_order_acquire);
    if (extras != nullptr) {
        return extras;
    }
    Extras* fresh = new Extras;
    if (mExtras.compare_exchange_strong(extras, fresh, std::memory_order_acq_rel)) {
        return fresh;
    }
    delete fresh;  // another thread won the race; `extras` now holds its
    return extras;
}

// ---- IInterface and the service manager ---------------------------------------------------------

IInterface::IInterface() = default;
IInterface::~IInterface() = default;

sp<IBinder> IInterface::asBinder(const IInterface* iface)
{
    return iface != nullptr ? const_cast<IInterface*>(iface)->onAsBinder() : nullptr;
}

sp<IBinder> IInterface::asBinder(const sp<IInterface>& iface)
{
    return asBinder(iface.get());
}

IServiceManager::IServiceManager() = default;
IServiceManager::~IServiceManager() = default;

const String16& IServiceManager::getInterfaceDescriptor() const
{
    static const String16 descriptor("android.os.IServiceManager");
    return descriptor;
}

sp<IServiceManager> defaultServiceManager()
{
    return registry();
}

} // namespace android

namespace loopback_binder {

bool killService(const android::String16& name)
{
    return android::registry()->kill(name);
}

void forgetAllServices()
{
    android::registry()->forgetAll();
}

} // namespace loopback_binder
