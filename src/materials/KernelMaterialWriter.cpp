#include "materials/KernelMaterialWriter.h"

#include <utility>

namespace tw {

namespace {
IKernelMaterialWriter* RegisteredWriter = nullptr;

THSCapAlphaFunction& RegisteredCapAlpha() {
    static THSCapAlphaFunction function;
    return function;
}
} // namespace

IKernelMaterialWriter* KernelMaterialWriter() {
    return RegisteredWriter;
}

IKernelMaterialWriter* SetKernelMaterialWriter(IKernelMaterialWriter* writer) {
    return std::exchange(RegisteredWriter, writer);
}

const THSCapAlphaFunction& HSCapAlphaFunction() {
    return RegisteredCapAlpha();
}

THSCapAlphaFunction SetHSCapAlphaFunction(THSCapAlphaFunction function) {
    return std::exchange(RegisteredCapAlpha(), std::move(function));
}

} // namespace tw
