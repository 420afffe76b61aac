// tobjfac/tobjel - an entry of the register of shared objects (core)
//
// An address and the number of its owners; the chain it is in is the list's affair.

#include "tobjfac.h"

TObjEl::TObjEl(void *registered) : object(registered), refc(1), err(0) {}

// Kept: with the links, like any element.
TObjEl::TObjEl(const TObjEl &other) = default;
TObjEl &TObjEl::operator=(const TObjEl &other) = default;

TObjEl::~TObjEl() = default;

int TObjEl::IsSameContent(void *p) { return p == object ? 1 : 0; }

int TObjEl::RefCpp() { return ++refc; }

int TObjEl::RefCmm() { return --refc; }

bool TObjEl::NoRefs() const { return refc < 1; }

int TObjEl::RefC() const { return refc; }

void *TObjEl::iPt() const { return object; }

int TObjEl::ErrNo() const { return err; }
