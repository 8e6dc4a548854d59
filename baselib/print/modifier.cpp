#include "baselib/print/modifier.h"

#include "baselib/print/print.h"

void KLTmodifierUser::action(KLTprint& print) const {
    KLTmodifierUserData* known = print.findModifier(key_);
    KLTmodifierUserData* data = apply(print, known);
    if (known == nullptr && data != nullptr) print.addModifier(key_, data);
}
