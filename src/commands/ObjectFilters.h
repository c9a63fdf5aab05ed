#pragma once
// Object filters: named conditions on objects, used by `filter` on lists. A filter checks its
// parameters first (Validate answers the reason they can't work, or "") and then answers for each
// object whether it passes.
//
//   filter List "FilterByType" "CmdThing"
//   filter List "FilterByProperty" "Count" ">=" 3
//   filter List "FilterByMetadata" "source" "lab 3"

#include "commands/CommandParameters.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tw {

class TKovObjectFilter_Virtual {
public:
    virtual ~TKovObjectFilter_Virtual() = default;
    virtual std::string GetName() const = 0;
    // The reason the parameters can't work, or "".
    virtual std::string Validate(const TCommandParameterList& /*parameters*/) const {
        return "Filter not implemented";
    }
    // Call only with parameters that Validate accepted.
    virtual bool Matches(const TKovObject& object,
                         const TCommandParameterList& parameters) const = 0;
};

// By class: the object is of the type named, or of a descendant. The type must be known to the
// class registry of the framework.
class TOFByType : public TKovObjectFilter_Virtual {
public:
    std::string GetName() const override { return "FilterByType"; }
    std::string Validate(const TCommandParameterList& parameters) const override;
    bool Matches(const TKovObject& object, const TCommandParameterList& parameters) const override;
};

// By a property compared with a value by one operator: "=", "<>", "<", "<=", ">", ">=". Numbers
// compare as numbers (a number with a unit in its presentation unit), anything else as text.
class TOFByIntrProp : public TKovObjectFilter_Virtual {
public:
    std::string GetName() const override { return "FilterByProperty"; }
    std::string Validate(const TCommandParameterList& parameters) const override;
    bool Matches(const TKovObject& object, const TCommandParameterList& parameters) const override;
    // Raises "Unexpected comparison: %s" for an operator outside the list.
    static bool Compare(int order, const std::string& op);
};

// By a metadata entry holding a value.
class TOFByMetadata : public TKovObjectFilter_Virtual {
public:
    std::string GetName() const override { return "FilterByMetadata"; }
    std::string Validate(const TCommandParameterList& parameters) const override;
    bool Matches(const TKovObject& object, const TCommandParameterList& parameters) const override;
};

class TKovObjectFilterRegistry {
public:
    // The registry, with the three filters above.
    static TKovObjectFilterRegistry& Instance();
    void Register(std::unique_ptr<TKovObjectFilter_Virtual> filter);
    // By name, without regard to case; nullptr when unknown.
    const TKovObjectFilter_Virtual* Find(const std::string& name) const;
    std::vector<std::string> Names() const;

private:
    TKovObjectFilterRegistry() = default;
    mutable std::mutex FMutex;
    std::vector<std::unique_ptr<TKovObjectFilter_Virtual>> FFilters;
};

} // namespace tw
