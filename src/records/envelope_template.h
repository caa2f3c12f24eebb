// The envelope that outgoing messages take from one template of the process.
//
//   offset  width  member                          offset  width  member
//   0       4      codigo_primaryuser              42      1      bandera_destinatarios
//   4       1      bandera_mensaje_persistente     43      1      bandera_tipo_horas
//   5       1      no_guardar_log_destinatarios    44      6      hora_local_remitente
//   6       1      guardar_log_remitente           50      2      relleno_1_cabeza
//   7       1      marca_procesado                 52      8      sucursal
//   8       2      codigo_dataserver               60      1      bandera_institucion_especial_remitente
//   10      4      numero_remitente                61      15     funcion_institucion_remitente
//   14      4      numero_dataserver               76      4      diezmilesima_local_remitente
//   18      1      log                             80      1      relleno_2_cabeza
//   19      4      usuario                         81      1      free
//   23      6      hora
//   29      8      fecha
//   37      1      free
//   38      4      milisegundo
//
// Up to `fecha` the members lie where the fields of CABEZA are; behind it each stands one byte further. Messages go out
// with the first 80 bytes as they lie: the peers rely on the branch code in bytes 52 to 59, though the field SUCURSAL
// reads bytes 51 to 58. Neither side may be moved to meet the other.
#pragma once

#include "little_endian.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace qapi {

// A little-endian number at any address.
template <std::integral T> class WireNumber
{
public:
    WireNumber& operator=(T value)
    {
        store_le(m_bytes.data(), value);
        return *this;
    }
    operator T() const { return load_le<T>(m_bytes.data()); }

private:
    std::array<char, sizeof(T)> m_bytes;
};

} // namespace qapi

struct CABEZA_DFN
{
    char codigo_primaryuser[4];
    char bandera_mensaje_persistente;
    char no_guardar_log_destinatarios;
    char guardar_log_remitente;
    char marca_procesado;
    char codigo_dataserver[2];
    qapi::WireNumber<std::uint32_t> numero_remitente;
    qapi::WireNumber<std::uint32_t> numero_dataserver;
    char log;
    char usuario[4];
    char hora[6];
    char fecha[8];
    char free_byte;
    qapi::WireNumber<std::int32_t> milisegundo;
    char bandera_destinatarios[1];
    char bandera_tipo_horas[1];
    char hora_local_remitente[6];
    char relleno_1_cabeza[2];
    char sucursal[8];
    char bandera_institucion_especial_remitente;
    char funcion_institucion_remitente[15];
    qapi::WireNumber<std::int32_t> diezmilesima_local_remitente;
    char relleno_2_cabeza[1];
    char free_end;
};

static_assert(sizeof(CABEZA_DFN) == 82 && alignof(CABEZA_DFN) == 1);
static_assert(offsetof(CABEZA_DFN, numero_dataserver) == 14 && offsetof(CABEZA_DFN, fecha) == 29);
static_assert(offsetof(CABEZA_DFN, milisegundo) == 38 && offsetof(CABEZA_DFN, sucursal) == 52);
static_assert(offsetof(CABEZA_DFN, relleno_2_cabeza) == 80);

// The template. Changes under the outbound lock (outbound/send_queue.h).
extern CABEZA_DFN glb_cabeza_dfn;
