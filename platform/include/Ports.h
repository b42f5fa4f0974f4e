#pragma once

#include <cstdint>
#include <exception>
#include <list>
#include <string>

#include "BLEntity.h"
#include "singleton.h"

/// The configuration of an OLT PON port. Distances are in the platform's whole units (kilometres of fibre).
struct rpcOltPort {
    std::uint32_t minDistance = 0;
    std::uint32_t maxDistance = 0;
};

/// One PON port of the OLT. Both questions return 0 on success. May be called from any thread, with or
/// without the business-logic lock, and so may the operations of `OLTmanager` and `Ports::getGponImpl`.
class [[gnu::visibility("default")]] OltPort {
public:
    /// What the port's dynamic bandwidth allocation has free upstream, bytes per second.
    struct OltPortAvailableBanwith {
        std::uint32_t fixed = 0;  ///< for fixed rates
        std::uint32_t total = 0;  ///< for fixed and assured rates together
    };

    int getOMconfig(rpcOltPort & config);
    int getAvailableBandwith(OltPortAvailableBanwith * available);

    explicit OltPort(unsigned int index) : index_(index) {}

private:
    unsigned int index_;
};

/// The PON ports of the OLT.
class [[gnu::visibility("default")]] OLTmanager {
public:
    /// The port with this index, its OLT port number less one; null if there is none. The object stays valid
    /// until the platform's ports change.
    OltPort* getOltPort(unsigned int const& index);
};

/// The ports entity.
class [[gnu::visibility("default")]] Ports : public BLEntity, public singleton<Ports> {
public:
    /// Thrown when the platform has no implementation of the asked technology.
    class [[gnu::visibility("default")]] nullImplException : public std::exception {
    public:
        const char* what() const noexcept override;
    };

    /// The manager of the PON ports. Throws `nullImplException` when the platform has none.
    OLTmanager& getGponImpl();

    void applyConfiguration(boost::shared_ptr<Storage::Setting> setting) override;
    void saveConfiguration(boost::shared_ptr<Storage::Setting> setting) const override;
    bool start() override;
    bool applyDefaultSettings() override;
    bool stop() override;
    void getDependencies(std::list<std::string> & names) override;

private:
    friend class singleton<Ports>;
    Ports();
    ~Ports() override;
};

extern template class singleton<Ports>;
