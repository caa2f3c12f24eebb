#include "records/envelope_template.h"

CABEZA_DFN glb_cabeza_dfn{};
