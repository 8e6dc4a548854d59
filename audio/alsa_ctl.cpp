#include "audio/alsa_ctl.h"

#include "audio/alsa_owned.h"
#include "audio/quiet_call.h"
#include "baselib/text/astr.h"

#include <algorithm>
#include <alsa/asoundlib.h>
#include <cerrno>
#include <cstdlib>

namespace {

using Id = KLTalsaOwned<snd_ctl_elem_id_t, snd_ctl_elem_id_free>;
using Info = KLTalsaOwned<snd_ctl_elem_info_t, snd_ctl_elem_info_free>;
using Value = KLTalsaOwned<snd_ctl_elem_value_t, snd_ctl_elem_value_free>;

void freeList(snd_ctl_elem_list_t* list) {
    snd_ctl_elem_list_free_space(list);
    snd_ctl_elem_list_free(list);
}
using List = KLTalsaOwned<snd_ctl_elem_list_t, freeList>;

// All elements of a card; null when ALSA can't tell.
List elementsOf(snd_ctl_t* card) {
    List list = KLFalsaMake<List>(snd_ctl_elem_list_malloc);
    if (!list || snd_ctl_elem_list(card, list.get()) < 0) return nullptr;
    const unsigned count = snd_ctl_elem_list_get_count(list.get());
    if (count == 0 || snd_ctl_elem_list_alloc_space(list.get(), count) < 0) return nullptr;
    return snd_ctl_elem_list(card, list.get()) < 0 ? nullptr : std::move(list);
}

bool matches(const snd_ctl_elem_list_t* list, unsigned entry, const char* name, int index) {
    return strcmp(snd_ctl_elem_list_get_name(list, entry), name) == 0 &&
           (index < 0 || snd_ctl_elem_list_get_index(list, entry) == static_cast<unsigned>(index));
}

// Finds an element on the device, or else on any.
bool identify(snd_ctl_t* card, unsigned device, const char* name, int index,
              snd_ctl_elem_id_t* id) {
    const List list = elementsOf(card);
    bool found = false;
    for (unsigned entry = 0; list && entry < snd_ctl_elem_list_get_used(list.get()); ++entry) {
        const bool onDevice = snd_ctl_elem_list_get_device(list.get(), entry) == device;
        if (!matches(list.get(), entry, name, index) || (found && !onDevice)) continue;
        snd_ctl_elem_list_get_id(list.get(), entry, id);
        found = true;
        if (onDevice) break;
    }
    return found;
}

bool holds(const snd_ctl_elem_info_t* info, KLTctlKind kind) {
    const snd_ctl_elem_type_t type = snd_ctl_elem_info_get_type(info);
    if (kind == KLTctlKind::bytes)
        return type == SND_CTL_ELEM_TYPE_BYTES || type == SND_CTL_ELEM_TYPE_IEC958;
    return type == SND_CTL_ELEM_TYPE_INTEGER || type == SND_CTL_ELEM_TYPE_BOOLEAN;
}

bool takesWrites(const snd_ctl_elem_info_t* info) {
    return snd_ctl_elem_info_is_writable(info) != 0 && snd_ctl_elem_info_is_inactive(info) == 0;
}

} // namespace

// What ALSA tells of an element.
struct KLlinuxALSActl::Element {
    Id id = KLFalsaMake<Id>(snd_ctl_elem_id_malloc);
    Info info = KLFalsaMake<Info>(snd_ctl_elem_info_malloc);
    Value value = KLFalsaMake<Value>(snd_ctl_elem_value_malloc);

    explicit operator bool() const { return id && info && value; }

    unsigned integers() const {
        return std::min(snd_ctl_elem_info_get_count(info.get()),
                        unsigned{KLTctlRecord::integerCount});
    }

    void read(KLTctlRecord& record) const {
        if (record.kind == KLTctlKind::bytes)
            memcpy(record.bytes.data(), snd_ctl_elem_value_get_bytes(value.get()),
                   record.bytes.size());
        else
            for (unsigned i = 0; i < integers(); ++i)
                record.integer(
                    static_cast<int>(i),
                    static_cast<int32_t>(snd_ctl_elem_value_get_integer(value.get(), i)));
    }

    void write(KLTctlRecord record, KLTctlKind kind) {
        if (kind == KLTctlKind::bytes)
            snd_ctl_elem_set_bytes(value.get(), record.bytes.data(), record.bytes.size());
        else
            for (unsigned i = 0; i < integers(); ++i)
                snd_ctl_elem_value_set_integer(value.get(), i, record.integer(static_cast<int>(i)));
    }
};

KLlinuxALSActl::~KLlinuxALSActl() { KLlinuxALSActl::close(); }

int KLlinuxALSActl::open(const char* card) {
    close();
    if (!card || !*card) return -EINVAL;
    const QuietCall quiet;
    const char* comma = strchr(card, ',');
    device_ = comma ? static_cast<unsigned>(strtoul(comma + 1, nullptr, 10)) : 0;
    const int error = openHandle(card);
    if (error == 0 || !comma) return error;
    return openHandle(KLTastr().assign(card, 0, static_cast<int>(comma - card)).text());
}

void KLlinuxALSActl::close() {
    if (!handle_) return;
    const QuietCall quiet;
    snd_ctl_close(handle_);
    handle_ = nullptr;
}

int KLlinuxALSActl::get(KLTctlRecord& record, const char* name, KLTctlKind kind) {
    const QuietCall quiet;
    Element element;
    if (const int error = find(element, name, kind, anyIndex); error < 0) return error;
    if (const int error = snd_ctl_elem_read(handle_, element.value.get()); error < 0) return error;
    record.kind = kind;
    element.read(record);
    return 0;
}

int KLlinuxALSActl::set(const KLTctlRecord& record, const char* name, KLTctlKind kind, int index) {
    const QuietCall quiet;
    Element element;
    if (const int error = find(element, name, kind, index); error < 0) return error;
    if (!takesWrites(element.info.get())) return writeIgnored;
    element.write(record, kind);
    return std::min(snd_ctl_elem_write(handle_, element.value.get()), 0);
}

int KLlinuxALSActl::openHandle(const char* name) {
    const int error = snd_ctl_open(&handle_, name, 0);
    if (error < 0) handle_ = nullptr;
    return error;
}

// Everything about an element of that name and kind.
int KLlinuxALSActl::find(Element& element, const char* name, KLTctlKind kind, int index) const {
    if (!handle_) return -ENODEV;
    if (!element) return -ENOMEM;
    if (!identify(handle_, device_, name, index, element.id.get())) return -ENOENT;
    snd_ctl_elem_info_set_id(element.info.get(), element.id.get());
    if (const int error = snd_ctl_elem_info(handle_, element.info.get()); error < 0) return error;
    if (!holds(element.info.get(), kind)) return -EINVAL;
    snd_ctl_elem_value_set_id(element.value.get(), element.id.get());
    return 0;
}
