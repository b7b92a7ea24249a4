#pragma once
// RZCompatibility declares no operations of its own: it is the place where other products of the
// same maker hang compatibility shims, and it stays part of the shared classes so they link.

class RZCompatibility {
public:
    RZCompatibility() = delete;
};
