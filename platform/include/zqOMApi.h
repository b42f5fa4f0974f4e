#pragma once

/// The hardware layer's handle of an interface. A default-initialised record names no interface.
struct zqOMApiInterface_s {
    unsigned int slot = 0;
    unsigned int port = 0;
    unsigned int onu = 0;
};

/// Base of the tables of the hardware layer's operation-and-maintenance interface.
class [[gnu::visibility("default")]] zqOMTable {
public:
    zqOMTable();
    virtual ~zqOMTable();
    zqOMTable(const zqOMTable&) = delete;
    zqOMTable& operator=(const zqOMTable&) = delete;
};
