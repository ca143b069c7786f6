// GMime for the importer: initialised once per process, the parser options every parse uses,
// and an owner for GObject references.
#pragma once

#include <gmime/gmime.h>

#include <utility>

namespace orvella::host::mail {

// Initialises GMime on first use (thread-safe) and returns the options for parsing real mail:
// loose address and parameter rules, raw 8-bit header text read as UTF-8, else Windows-1252.
// The options live for the whole process.
GMimeParserOptions* ImportParserOptions();

// One reference to a GObject, released on destruction.
template <class T>
class GObjectRef {
public:
    GObjectRef() = default;
    explicit GObjectRef(T* p) : p_(p) {}
    GObjectRef(const GObjectRef&) = delete;
    GObjectRef& operator=(const GObjectRef&) = delete;
    GObjectRef(GObjectRef&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
    GObjectRef& operator=(GObjectRef&& other) noexcept {
        std::swap(p_, other.p_);
        return *this;
    }
    ~GObjectRef() {
        if (p_) g_object_unref(p_);
    }
    T* get() const { return p_; }
    explicit operator bool() const { return p_ != nullptr; }

private:
    T* p_ = nullptr;
};

}  // namespace orvella::host::mail
