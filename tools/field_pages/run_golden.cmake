# Runs PROGRAM into the directory PAGES, compares what GOLDEN has of it, and lets CHECK go over all of it. Then the ways
# to use it wrongly.
function(expect_exit expected)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE exit OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT exit STREQUAL expected)
    message(FATAL_ERROR "${ARGN}: exit ${exit}, not ${expected}:\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE ${PAGES})
expect_exit(0 ${PROGRAM} ${PAGES})
file(GLOB expected_pages RELATIVE ${GOLDEN} ${GOLDEN}/*.md)
foreach(page ${expected_pages})
  file(READ ${GOLDEN}/${page} expected)
  file(READ ${PAGES}/${page} written)
  if(NOT written STREQUAL expected)
    message(FATAL_ERROR "${PAGES}/${page} is not as ${GOLDEN}/${page}:\n${written}")
  endif()
endforeach()
expect_exit(0 ${CHECK} ${PAGES})

# A line of a page, without what only lines its columns up.
function(expect_line page line)
  file(READ ${PAGES}/${page}.md written)
  string(REGEX REPLACE " +" " " written "${written}")
  string(FIND "${written}" "\n${line}\n" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${page}.md has no line ${line}")
  endif()
endfunction()

expect_line(CMsgOrder "- Kind: `Orden_Transaccion`, `mensaje_tabla_moneda`, `currency_table_message`, \
`Orden_Transaccion_RFQ`, `mensaje_tabla_moneda_rfq`, `currency_rfq_table_message`")
expect_line(CGTOrder "- Kind: `Posturas_Vigentes`")
expect_line(CGTHeader "- Kind: none; no operation of a host takes it")
expect_line(CMsgOrder "| 179 | `fecha_valor` | 16 bits | 2 | | part of `datos_generales_postura` |")
expect_line(CMsgOrder "| 1281 | `precio_spot` | fixed point, 8 decimals | 14 | | \
part of `datos_adicionales_transaccion` |")
expect_line(CMsgOrder "| 1405 | `usuario_empleado` | text | 4 | [employee](CGTEmployee.md) | \
same bytes as `usuario_sucursal_intermediario`; note 2 |")
expect_line(CMsgTransMon "| 83 | `codigo_primaryuser` | text | 4 | [primary user](CGTPu.md) | \
part of `scnd_datos_para_dataserver`; the name finds the row at 3 |")
expect_line(CMsgTransMon "2. The same for the other side of the trade: `transmm_bandera_sector_financiero_1` decides, \
and is to be set first.")
expect_line(CMsgChat "| 2223 | `receptor` | text | 1600 | user, branch or market | note 1 |")
expect_line(CMsgChat "| 3830 | *REC_IDX* | 32 bits unsigned | 4 | | not sent |")
expect_line(CGTUser "| 498 | `grupo_stress` | 32 bits | 2 | | part of `datos_user`; read and written as 4 bytes |")

file(APPEND ${PAGES}/CGTCity.md "| 0 |\n")
expect_exit(1 ${CHECK} ${PAGES})
file(REMOVE ${PAGES}/CGTCity.md)
expect_exit(1 ${CHECK} ${PAGES})

expect_exit(0 ${PROGRAM} -h)
expect_exit(2 ${PROGRAM})
expect_exit(2 ${PROGRAM} ${PAGES} ${PAGES})
expect_exit(2 ${PROGRAM} ${PAGES}/index.md)
