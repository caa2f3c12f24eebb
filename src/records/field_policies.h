// Where the bytes of a field are that shares its place with another one: at its place, or, while a flag of the record
// says that the place belongs to the other, in an empty text that nobody writes to.
#pragma once

#include "field/field.h"

char* usuario_data(CField* field);   // the user's, unless BANDERA_SECTOR_FINANCIERO says employee
char* empleado_data(CField* field);  // the employee's, if it does
char* usuario_data_1(CField* field); // the same two by BANDERA_SECTOR_FINANCIERO_1
char* empleado_data_1(CField* field);
