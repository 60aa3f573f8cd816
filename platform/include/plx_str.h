// The platform's standby registry: threads register themselves and pass a standby point on every
// cycle, where the platform holds them while the system is suspended to RAM.
#ifndef PLX_STR_H
#define PLX_STR_H

class plx_str {
public:
    static plx_str* GetInstance();

    // Registers, or removes, the calling thread.
    int addStrThreadItem();
    int removeStrThreadItem();
    // The standby point: returns 0 when the thread passed straight through, non-zero when it was
    // held for a suspend and has been resumed.
    int strThreadItemSuspend();

private:
    plx_str() {}
};

class plx_interface_common {
public:
    static plx_str* Get_plx_str();
};

#endif
