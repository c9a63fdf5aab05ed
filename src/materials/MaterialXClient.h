#pragma once
// The one object through which the material framework learns about the program that hosts it:
// the dimension of its geometry, what it offers (flow, thermal, dynamics) and its vertical axis.
// A program sets it once at start, from the main thread, before any material is made.

#include "materials/MaterialXExceptions.h"

#include <memory>
#include <string>

namespace tw {

enum TMaterialXClientGeometryType { mxcgtNone, mxcgt2D, mxcgt3D };
enum TMaterialXClientCoordinateAxis { mxccaXAxis, mxccaYAxis, mxccaZAxis };

class TMaterialXClient_Abstract {
public:
    virtual ~TMaterialXClient_Abstract() = default;

    // The client in force; raises EMaterialXClientException ("%s is not instantiated yet") before
    // one was set.
    static TMaterialXClient_Abstract& Instance();
    static bool IsInstantiated();
    // Takes the client; answers the one it replaces.
    static std::unique_ptr<TMaterialXClient_Abstract>
    SetInstance(std::unique_ptr<TMaterialXClient_Abstract> client);

    virtual bool Is2D() const { return GeometryType() == mxcgt2D; }
    virtual bool Is3D() const { return GeometryType() == mxcgt3D; }
    virtual TMaterialXClientGeometryType GeometryType() const = 0;
    virtual std::string ProductId() const = 0;
    virtual std::string ProductType() const = 0;
    virtual bool HasGSE() const { return false; }
    virtual bool IsThermalAvailable() const { return false; }
    virtual bool IsDynamicAvailable() const { return false; }
    // The vertical axis: y in 2D, z in 3D unless set otherwise.
    virtual TMaterialXClientCoordinateAxis VerticalAxis() const { return FVerticalAxis; }
    virtual bool IsVerticalAxis(TMaterialXClientCoordinateAxis axis) const {
        return VerticalAxis() == axis;
    }

protected:
    TMaterialXClientCoordinateAxis FVerticalAxis = mxccaYAxis;
};

// The client of this program: a laboratory whose geometry follows the test method it was started
// with (2D or 3D); flow (suction) is a plain flag, thermal follows the 2D kernel.
class TMaterialXClientTarnwick : public TMaterialXClient_Abstract {
public:
    TMaterialXClientTarnwick(TMaterialXClientGeometryType geometry, bool flowAvailable = true);
    TMaterialXClientGeometryType GeometryType() const override { return FGeometry; }
    std::string ProductId() const override { return "Tarnwick"; }
    std::string ProductType() const override { return "SoilTest"; }
    bool IsThermalAvailable() const override { return FGeometry == mxcgt2D; }
    bool IsFlowAvailable() const { return FFlowAvailable; }

private:
    TMaterialXClientGeometryType FGeometry;
    bool FFlowAvailable;
};

// Sets a client for the life of a scope and puts the previous one back (tests, tools).
class TMaterialXClientScope {
public:
    explicit TMaterialXClientScope(std::unique_ptr<TMaterialXClient_Abstract> client)
        : FPrevious(TMaterialXClient_Abstract::SetInstance(std::move(client))) {}
    ~TMaterialXClientScope() { TMaterialXClient_Abstract::SetInstance(std::move(FPrevious)); }
    TMaterialXClientScope(const TMaterialXClientScope&) = delete;
    TMaterialXClientScope& operator=(const TMaterialXClientScope&) = delete;

private:
    std::unique_ptr<TMaterialXClient_Abstract> FPrevious;
};

} // namespace tw
