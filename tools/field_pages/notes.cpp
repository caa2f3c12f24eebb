#include "notes.h"

#include "wording.h"

#include <algorithm>

namespace {

const std::vector<Note>& all_notes()
{
    static const std::vector<Note> notes{
        {{"CMsgOrder"},
         {CLASE_MENSAJE},
         "8 makes the order an `Orden_Transaccion_RFQ`, any other value an `Orden_Transaccion`. Both are this record, "
         "and "
         "so is number 121, under which the orders of some markets travel."},
        {{"CMsgOrder", "CMsgTransMon"},
         {USUARIO_SUCURSAL_INTERMEDIARIO, USUARIO_EMPLEADO},
         "Two fields on the same bytes, of which one can be read: the employee if {BANDERA_SECTOR_FINANCIERO} is 'E', "
         "else the user. The other reads as empty, and what is written to it is dropped. So set "
         "{BANDERA_SECTOR_FINANCIERO} first, then the field."},
        {{"CMsgOrder", "CMsgTransMon"},
         {USUARIO_SUCURSAL_INTERMEDIARIO_1, USUARIO_EMPLEADO_1},
         "The same for the other side of the trade: {BANDERA_SECTOR_FINANCIERO_1} decides, and is to be set first."},
        {{"CMsgTransMon"},
         {},
         "A second envelope follows the first and has the same names. A name finds the field of the first envelope, "
         "and a "
         "walk over the named fields passes over that of the second."},
        {{"CMsgPayInstruc"},
         {REC_IDX},
         "The number of the record, which the library writes, lies inside the body of this record: it overwrites the "
         "last two characters of {HORA_IP} and the first two of {CODIGO_POSTURA_IP}."},
        {{"CMsgChat"},
         {RECEPTOR_CHAT},
         "A repeating field: `receptor[1]` to `receptor[200]`, 8 bytes each, of which {NUMERO_RECEPTORES_CHAT} are "
         "there. "
         "{TIPO_RECEPTORES_CHAT} tells what they are: 'U' users, 'S' branches, 'M' markets. Without an index the field "
         "is "
         "all 1600 bytes."},
    };
    return notes;
}

const FieldPlace* field_of_symbol(const RecordLayout& layout, std::string_view symbol)
{
    const auto fields = layout.Fields();
    const auto found = std::find_if(fields.begin(), fields.end(), [symbol](const FieldPlace& field) {
        return symbol == Field_Symbol(field.field_id);
    });
    return found != fields.end() ? &*found : nullptr;
}

} // namespace

std::vector<const Note*> Notes_Of(std::string_view record)
{
    std::vector<const Note*> notes;
    for (const Note& note : all_notes()) {
        if (std::find(note.records.begin(), note.records.end(), record) != note.records.end()) {
            notes.push_back(&note);
        }
    }
    return notes;
}

std::string Note_Marks(const std::vector<const Note*>& notes, int field_id)
{
    for (std::size_t at = 0; at < notes.size(); ++at) {
        const std::vector<int>& fields = notes[at]->fields;
        if (std::find(fields.begin(), fields.end(), field_id) != fields.end()) {
            return "note " + std::to_string(at + 1);
        }
    }
    return {};
}

std::string Note_Text(const Note& note, const RecordLayout& layout)
{
    std::string text;
    std::string_view rest = note.text;
    for (std::size_t open = rest.find('{'); open != std::string_view::npos; open = rest.find('{')) {
        const std::size_t close = rest.find('}', open);
        const FieldPlace* const field = field_of_symbol(layout, rest.substr(open + 1, close - open - 1));
        text += rest.substr(0, open);
        text += field != nullptr ? Name_In_Page(*field) : std::string(rest.substr(open, close + 1 - open));
        rest.remove_prefix(close + 1);
    }
    return text += rest;
}
