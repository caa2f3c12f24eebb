// Paths through the tables: the walk over an order and the records that its codes name, three levels deep, and the
// proof that no walk goes in a circle.
#include "qcapi/prefix.h"

#include "records/all_records.h"
#include "support/record_classes.h"
#include "support/record_links.h"
#include "support/table_world.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;

// ---- A small world -----------------------------------------------------------------------------------------------

// Of class ids that no other record of this program has.
using Note = RecordOf<CGTVLXCONNECTED_TYPE, USUARIO_POSTURA, TEXTO_CHAT>;
using Chat = RecordOf<CGTNMCHKPLZ_TYPE, NUMERO_RECEPTORES_CHAT, TIPO_RECEPTORES_CHAT, RECEPTOR_CHAT>;

// Ana (U123) works at a branch of Banco Uno, in Bogota, which is in Colombia, on the machine of primary user P001.
class SmallWorld : public testing::Test
{
protected:
    SmallWorld()
    {
        TableWorld::Subscribe_All();
        world.Put(Glb_Country_Table, 1, {{CODIGO_COUNTRY, "CO"}, {NOMBRE_1_COUNTRY, "Colombia"}});
        world.Put(Glb_City_Table, 1, {{CODIGO_3C_CITY, "BOG"}, {NOMBRE_CITY_1, "Bogota"}});
        world.Put(Glb_Branches_Table, 1,
                  {{CODIGO_SUCURSAL_BRANCHES, "AB12BOG1"}, {CODIGO_PAIS_BRANCHES, "CO"}, {NOMBRE, "Norte"}});
        world.Put(Glb_Instit_Table, 1,
                  {{CODIGO_UNICO_INSTITUCION, "AB12"}, {CODIGO_PAIS_INSTITUCION, "CO"}, {NOMBRE_INSTITUCION, "Uno"}});
        world.Put(Glb_Primaryuser_Table, 1, {{CODIGO_PU, "P001"}, {CODIGO_SUCURSAL_PU, "AB12BOG1"}});
        world.Put(Glb_User_Table, 1,
                  {{CODIGO_USUARIO, "U123"},
                   {CODIGO_SUCURSAL_USUARIO, "AB12BOG1"},
                   {CODIGO_PRIMARYUSER_ACTUAL, "P001"},
                   {NOMBRE_COMPLETO, "Ana"}});
        note[USUARIO_POSTURA].Set_Text("U123");
    }

    static std::string Text_Of(CMessage& record, const std::string& path)
    {
        const ReplicaLock lock;
        CField* field = record.Find_Field(path.c_str());
        if (field == nullptr) {
            return "none";
        }
        std::array<char, 2048> text{};
        field->GetStr(text.data(), 0, text.size());
        return text.data();
    }

    TableWorld world;
    Note note;
};

TEST_F(SmallWorld, PathsReadTheRecordsThatCodesName)
{
    EXPECT_EQ(Text_Of(note, "usuario_postura.nombre_completo"), "Ana");
    EXPECT_EQ(Text_Of(note, "usuario_postura.codigo_sucursal.nombre"), "Norte");
    EXPECT_EQ(Text_Of(note, "usuario_postura.codigo_unico_institucion.nombre"), "Uno");
    EXPECT_EQ(Text_Of(note, "usuario_postura.codigo_sucursal.codigo_ciudad_3c.nombre"), "Bogota");
    EXPECT_EQ(Text_Of(note, "usuario_postura.codigo_primaryuser_actual.codigo_sucursal.codigo_pais.nombre"),
              "Colombia");
}

TEST_F(SmallWorld, PathsThroughAnUnknownCodeReadEmptyFields)
{
    note[USUARIO_POSTURA].Set_Text("U999");
    EXPECT_EQ(Text_Of(note, "usuario_postura.nombre_completo"), "");
    EXPECT_EQ(Text_Of(note, "usuario_postura.codigo_sucursal.codigo_ciudad_3c.nombre"), "");
    EXPECT_EQ(Text_Of(note, "usuario_postura.no_such_field"), "none");
}

TEST_F(SmallWorld, PathsThroughATableThatIsNotSubscribedReadEmptyFields)
{
    Glb_subscribed_code_table_id[USER_CODE_ID] = 0;
    EXPECT_EQ(Text_Of(note, "usuario_postura.nombre_completo"), "");
}

// ---- Walks -------------------------------------------------------------------------------------------------------

// Names in the order of a walk. Behind a name, what stands inside the record that its code names.
struct Names
{
    const char* names; // with blanks between them
    std::map<std::string, const Names*> inside;
};

const Names country = {"i_op data_code rec_num data_info datos_country codigo nombre_corto nombre_corto[2] "
                       "nombre_corto[3] nombre_corto[4] nombre_corto[5] nombre_corto[6] nombre nombre[2] nombre[3] "
                       "nombre[4] nombre[5] nombre[6]",
                       {}};

const Names city = {"i_op data_code rec_num data_info datos_city codigo_3c letra_ciudad nombre nombre[2] nombre[3] "
                    "nombre[4] nombre[5] nombre[6] codigo_tarnel",
                    {}};

const Names branch = {"i_op data_code rec_num data_info datos_branches codigo_sucursal codigo_unico_institucion "
                      "codigo_ciudad_3c codigo_agencia codigo_pais identificador_4c identificador_7c nombre direccion "
                      "telefono enviar_rfq relleno_0 codigo_ruc codigo_bv_1 codigo_bv_2 codigo_reuter codigo_tarnel "
                      "activo bandera_no_mostrar_nombre filiacion_bv[1] filiacion_bv[2] filiacion_bv[3] "
                      "filiacion_bv[4] filiacion_bv[5] codigo_broker_home bandera_historia_precios_por_hora "
                      "bandera_cls_branches bandera_precios_montos_branches bandera_rfq_branches codigo_bic clase "
                      "tipo_entidad nombre_ciudad clase_derivada",
                      {{"codigo_ciudad_3c", &city}, {"codigo_pais", &country}}};

const Names institution = {"i_op data_code rec_num data_info datos_institucion_institucion codigo_unico "
                           "pais_datamanager secuencial bandera_transnacional codigo_pais codigo_3c codigo_4c "
                           "nombre_corto nombre clase tipo_entidad bandera_institucion_especial funcion matriz "
                           "codigo_bic tipo_super_financiera codigo_super_financiera externo_sistema "
                           "relleno_institucion",
                           {{"codigo_pais", &country}}};

const Names primary_user = {
    "i_op data_code rec_num data_info codigo pais_datamanager secuencial codigo_sucursal "
    "codigo_unico_institucion codigo_ciudad_3c codigo_agencia sucursal_4c tiempo_desconexion "
    "tiempo_desconexion_usuarios espejo",
    {{"codigo_sucursal", &branch}, {"codigo_unico_institucion", &institution}, {"codigo_ciudad_3c", &city}}};

const Names user = {"i_op data_code rec_num data_info datos_user codigo pais_datamanager secuencial codigo_sucursal "
                    "codigo_unico_institucion codigo_ciudad_3c codigo_agencia sucursal_4c codigo_primaryuser_actual "
                    "nombre_corto nombre nombre_completo cargo telefono codigo_bv_1 codigo_bv_2 codigo_tarnel clase "
                    "mes_dia_cumpleanios direccion_mail bandera_enviar_recibir_dialogo codigo_identificacion "
                    "numero_identificacion bandera_no_mostrar_nombre piso_usuario_ebs identificacion_usuario_ebs "
                    "grupo_stress bandera_activo_stress bandera_lanzar_clientes_xdstsc nombre_usuari_etc "
                    "bandera_accesos_1 mercado_etc banderas_accesos_fixing_spot banderas_accesos_rfqc",
                    {{"codigo_sucursal", &branch},
                     {"codigo_unico_institucion", &institution},
                     {"codigo_ciudad_3c", &city},
                     {"codigo_primaryuser_actual", &primary_user}}};

const Names whole_note = {"usuario_postura texto", {{"usuario_postura", &user}}};

void add_paths(const Names& names, const std::string& prefix, std::vector<std::string>& paths)
{
    std::istringstream words(names.names);
    for (std::string name; words >> name;) {
        paths.push_back(prefix + name);
        if (const auto inside = names.inside.find(name); inside != names.inside.end()) {
            add_paths(*inside->second, prefix + name + ".", paths);
        }
    }
}

std::vector<std::string> paths_of(const Names& names)
{
    std::vector<std::string> paths;
    add_paths(names, "", paths);
    return paths;
}

class WalkOfTheWorld : public SmallWorld
{
protected:
    static std::vector<std::string> Walk(CMessage& record)
    {
        const ReplicaLock lock;
        return Walk_All(record, 100000);
    }
};

TEST_F(WalkOfTheWorld, VisitsEveryFieldOfEveryRecordThatIsNamed)
{
    const std::vector<std::string> paths = paths_of(whole_note);
    EXPECT_THAT(Walk(note), ElementsAreArray(paths));
    EXPECT_THAT(paths, Contains("usuario_postura.codigo_primaryuser_actual.codigo_sucursal.codigo_pais.nombre[6]"));
}

TEST_F(WalkOfTheWorld, EveryPathLeadsToTheFieldThatTheWalkGave)
{
    const ReplicaLock lock;
    FieldWalk walk(note);
    while (CField* field = walk.Next()) {
        EXPECT_EQ(note.Find_Field(walk.Path()), field) << walk.Path();
        EXPECT_TRUE(walk.Is_Sound());
    }
}

TEST_F(WalkOfTheWorld, PassesByWhatNoRecordStandsFor)
{
    world.Put(Glb_User_Table, 1, {{CODIGO_USUARIO, "U123"}, {CODIGO_SUCURSAL_USUARIO, "XX99BOG1"}});
    Names homeless = user;
    homeless.inside = {{"codigo_ciudad_3c", &city}};
    const Names expected = {"usuario_postura texto", {{"usuario_postura", &homeless}}};
    EXPECT_THAT(Walk(note), ElementsAreArray(paths_of(expected)));
}

TEST_F(WalkOfTheWorld, PassesByTablesThatAreNotSubscribed)
{
    Glb_subscribed_code_table_id[USER_CODE_ID] = 0;
    EXPECT_THAT(Walk(note), ElementsAre("usuario_postura", "texto"));
}

// The first element is gone into, the others are shown: their records are not the walk's.
TEST_F(WalkOfTheWorld, GoesIntoTheFirstReceiverOfAChat)
{
    Chat chat;
    chat[NUMERO_RECEPTORES_CHAT] = 2;
    chat[TIPO_RECEPTORES_CHAT].Set_Text("S");
    std::memcpy(chat[RECEPTOR_CHAT].Get_Data_Ptr(), "AB12BOG1", 8);
    std::vector<std::string> paths = {"numero_receptores", "tipo_receptores", "receptor", "receptor[1]"};
    add_paths(branch, "receptor[1].", paths);
    paths.emplace_back("receptor[2]");
    EXPECT_THAT(Walk(chat), ElementsAreArray(paths));
}

// An order with users, branches and principals that all are known.
TEST_F(WalkOfTheWorld, EndsForARecordOfManyReferences)
{
    CMsgOrder order;
    for (const FieldPlace& place : order.Layout_In_Force().Fields()) {
        CField& field = order[place.field_id];
        if (field.m_ref_value == REF_USER || field.m_ref_value == REF_BRANCH) {
            field.Set_Text(field.m_ref_value == REF_USER ? "U123" : "AB12BOG1");
        }
    }
    const std::vector<std::string> paths = Walk(order);
    EXPECT_GT(paths.size(), 2000U);
    EXPECT_LT(paths.size(), 20000U);
    EXPECT_THAT(paths, Contains("usuario_postura.codigo_sucursal.codigo_ciudad_3c.nombre"));
}

// ---- No circles --------------------------------------------------------------------------------------------------

// The record class that each index leads to, by its table; a receiver is one of three.
const std::map<int, std::vector<std::string>> led_to = {
    {1, {"CGTCity"}},
    {2, {"CGTEmisores"}},
    {3, {"CGTInstit"}},
    {4, {"CGTMarkets"}},
    {5, {"CGTMoney"}},
    {6, {"CGTCountry"}},
    {7, {"CGTPu"}},
    {8, {"CGTBranches"}},
    {9, {"CGTUser"}},
    {10, {"CGTVoiceGroup"}},
    {11, {"CGTSuperGroup"}},
    {12, {"CGTInsPerm"}},
    {13, {"CGTComitentes"}},
    {14, {"CGTFiduciarios"}},
    {15, {"CGTFiduciarios"}},
    {16, {"CGTEmployee"}},
    {17, {"CGTEsquema"}},
    {18, {"CGTComitentes"}},
    {19, {"CGTSubComitente"}},
    {20, {"CGTComitentes"}},
    {21, {"CGTComitentes"}},
    {22, {"CGTComitentes"}},
    {23, {"CGTUser", "CGTBranches", "CGTMarkets"}},
};

using Graph = std::map<std::string, std::set<std::string>>;

// From every record class to those that its fields lead to.
Graph graph_of_references()
{
    Graph graph;
    for (const RecordClass& each : All_Record_Classes()) {
        for (const FieldPlace& place : each.layout().Fields()) {
            const int index = glb_field_equivalence[static_cast<std::size_t>(place.field_id)].field_reference;
            if (index != 0) {
                graph[each.name].insert(led_to.at(index).begin(), led_to.at(index).end());
            }
        }
    }
    return graph;
}

// The references of the longest way from a class; the number of classes if it goes in a circle.
std::size_t longest_way(const Graph& graph, const std::string& from, std::size_t most)
{
    const auto found = graph.find(from);
    if (found == graph.end() || most == 0) {
        return 0;
    }
    std::size_t longest = 0;
    for (const std::string& to : found->second) {
        longest = std::max(longest, 1 + longest_way(graph, to, most - 1));
    }
    return longest;
}

TEST(References, LeadInNoCircle)
{
    const Graph graph = graph_of_references();
    for (const auto& [from, to] : graph) {
        EXPECT_LT(longest_way(graph, from, graph.size()), graph.size()) << from;
    }
}

TEST(References, OfTheTablesAreThese)
{
    Graph tables = graph_of_references();
    std::erase_if(tables, [](const auto& each) { return each.first.rfind("CGT", 0) != 0; });
    EXPECT_EQ(tables, (Graph{{"CGTBranches", {"CGTCity", "CGTCountry"}},
                             {"CGTComitentes", {"CGTSubComitente"}},
                             {"CGTEmisores", {"CGTCountry"}},
                             {"CGTHistoryTransDayTerm", {"CGTEsquema", "CGTMarkets", "CGTVoiceGroup"}},
                             {"CGTInsPerm", {"CGTBranches", "CGTCity", "CGTInstit", "CGTMoney", "CGTUser"}},
                             {"CGTInstit", {"CGTCountry"}},
                             {"CGTMarkets", {"CGTMoney"}},
                             {"CGTOrder",
                              {"CGTBranches", "CGTCity", "CGTComitentes", "CGTCountry", "CGTEmisores", "CGTInsPerm",
                               "CGTInstit", "CGTMarkets", "CGTMoney", "CGTPu", "CGTUser", "CGTVoiceGroup"}},
                             {"CGTPu", {"CGTBranches", "CGTCity", "CGTInstit"}},
                             {"CGTUser", {"CGTBranches", "CGTCity", "CGTInstit", "CGTPu"}},
                             {"CGTVoiceGroup", {"CGTSuperGroup"}},
                             {"CGTVoiceSummary", {"CGTEsquema", "CGTMarkets", "CGTMoney", "CGTVoiceGroup"}}}));
}

// From an order: instruction, its user, the primary user, the branch, its city.
TEST(References, TheLongestWayHasFiveSteps)
{
    const Graph graph = graph_of_references();
    std::size_t longest = 0;
    for (const auto& [from, to] : graph) {
        longest = std::max(longest, longest_way(graph, from, graph.size()));
    }
    EXPECT_EQ(longest, 5U);
}

// What the graph above takes for granted.
TEST(References, LeadToTheClassesOfTheseTables)
{
    const TableWorld world;
    const ReplicaLock lock;
    for (const auto& [index, classes] : led_to) {
        CMsgOrder order; // none of its fields is that of a receiver or a colour: those two are left out
        order[MONEDA].m_ref_value = index;
        const auto* empty = static_cast<CMessage*>(order[MONEDA].Do_Reference_Call(0, 0, nullptr));
        if (index != REF_RECEIVER) {
            ASSERT_NE(empty, nullptr) << index;
            EXPECT_EQ(empty->m_message_id, record_class(classes.front())->layout().Message_Id()) << index;
        }
    }
}

// ---- Codes and keys ----------------------------------------------------------------------------------------------

// The fields beside its own that a reference reads.
const std::map<int, std::vector<int>> read_beside = {
    {13, {TIPO_IDENTIFICACION_COMPRADOR_TMONEDA}},
    {14, {CODIGO_INSTITUCION_COMPRADOR_TMONEDA}},
    {15, {CODIGO_INSTITUCION_VENDEDOR_TMONEDA}},
    {18, {TIPO_IDENTIFICACION_VENDEDOR_TMONEDA}},
    {19, {CLASE_CODIGO_COMITENTES}},
    {20, {TIPO_ID_COMITENTE_PROPIO}},
    {21, {TIPO_IDENTIFICACION_CONTRAPARTE}},
    {22, {TIPO_ID_COMITENTE_CONTRAPARTE}},
    {23, {TIPO_RECEPTORES_CHAT, NUMERO_RECEPTORES_CHAT}},
};

TEST(References, EveryRecordThatHasOneHasTheFieldsThatItReads)
{
    for (const RecordClass& each : All_Record_Classes()) {
        for (const FieldPlace& place : each.layout().Fields()) {
            const int index = glb_field_equivalence[static_cast<std::size_t>(place.field_id)].field_reference;
            const auto beside = read_beside.find(index);
            for (const int field_id : beside != read_beside.end() ? beside->second : std::vector<int>{}) {
                EXPECT_NE(each.layout().Find(field_id), nullptr) << each.name << " " << Field_Symbol(field_id);
            }
        }
    }
}

// Bytes of a code in its key, by the index of its reference; the colours are numbers, and a receiver's code fills the
// key of its kind with as much as that takes.
const std::map<int, int> width_of_code = {{1, 3},  {2, 5},  {3, 4},   {4, 3},   {5, 3},   {6, 2},   {7, 4},
                                          {8, 8},  {9, 4},  {10, 4},  {11, 4},  {12, 5},  {13, 15}, {14, 3},
                                          {15, 3}, {16, 4}, {18, 15}, {19, 15}, {20, 15}, {21, 15}, {22, 15}};

TEST(References, EveryCodeIsAsLongAsItsKeyWantsIt)
{
    for (const RecordClass& each : All_Record_Classes()) {
        for (const FieldPlace& place : each.layout().Fields()) {
            const int index = glb_field_equivalence[static_cast<std::size_t>(place.field_id)].field_reference;
            if (const auto width = width_of_code.find(index); width != width_of_code.end()) {
                EXPECT_EQ(place.len, width->second) << each.name << " " << Field_Symbol(place.field_id);
            }
        }
    }
}

} // namespace
