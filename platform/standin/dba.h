#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>

namespace standin {

/// Upstream rates that a PON port has promised, kbit/s.
struct CommittedRates {
    std::uint64_t fixed = 0;
    std::uint64_t assured = 0;
};

/// The bandwidth model: the rates of the distinct (ONU, T-CONT id) pairs that are bound on each PON port,
/// summed up as bindings come and go.
class Dba {
public:
    /// Adds a binding of the pair. Its first one decides the pair's port, if the ONU has one, and rates.
    void bind(unsigned int onu, unsigned int tContId, std::optional<unsigned int> port, CommittedRates rates);

    /// Takes away one binding of a pair that has one.
    void unbind(unsigned int onu, unsigned int tContId);

    CommittedRates committed(unsigned int port) const;

private:
    struct Pair {
        std::optional<unsigned int> port;
        CommittedRates rates;
        std::size_t bindings = 0;
    };

    static std::uint64_t keyOf(unsigned int onu, unsigned int tContId) {
        return std::uint64_t{onu} << 32 | tContId;
    }

    std::unordered_map<std::uint64_t, Pair> pairs_;
    std::unordered_map<unsigned int, CommittedRates> ports_;
};

}  // namespace standin
