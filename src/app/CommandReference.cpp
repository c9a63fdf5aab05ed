#include "app/CommandReference.h"

#include "commands/KovCommands.h"
#include "commands/KovInterpreter.h"
#include "commands/OAIntrinsicProperties.h"
#include "commands/ObjectAccessors.h"
#include "gui/PropertyEditors.h"
#include "labtest/QBProject.h"
#include "labtest/QBProjectCommands.h"
#include "materials/KovMaterialX.h"
#include "materials/MXPropertyCollection.h"
#include "materials/MaterialXFactory.h"
#include "materials/SoilMaterialXEnumeratedTypes.h"
#include "objects/IntrinsicPropertyValueKinds.h"
#include "objects/ObjectManager.h"
#include "presentation/CaptionMarkup.h"
#include "services/Format.h"
#include "services/Strings.h"

#include <set>

namespace tw {

namespace {

// An anchor from an object's command text: letters, digits and "_" kept, the rest as "-".
std::string Anchor(const std::string& text) {
    std::string anchor;
    for (const char c : text)
        anchor += std::isalnum(static_cast<unsigned char>(c)) || c == '_' ? c : '-';
    return anchor;
}

class THtml {
public:
    void Line(const std::string& html) { FText += html + "\n"; }
    void Heading(int level, const std::string& text, const std::string& anchor = {}) {
        Line(Format("<h%d%s>%s</h%d>", level,
                    anchor.empty() ? std::string() : Format(" id=\"%s\"", anchor), EscapeXml(text),
                    level));
    }
    std::string& Text() { return FText; }

private:
    std::string FText;
};

// The commands of an object's accessor, one line per parameter pattern.
void WriteCommands(THtml& html, const TKovObject& object) {
    const TBaseObjectAccessor* accessor =
        TObjectAccessors::Instance().GetAccessorFor(object.ClassType());
    if (!accessor || accessor->CommandCount() == 0)
        return;
    html.Line("<p class=\"commands\">Commands:</p><ul class=\"commands\">");
    for (int i = 0; i < accessor->CommandCount(); ++i) {
        const TKovCommand& command = accessor->GetCommand(i);
        if (command.IsDiagnostic())
            continue;
        for (int k = 0; k < command.GetSupportedPatternCount(); ++k)
            html.Line(Format("<li><code>%s</code></li>", EscapeXml(command.PatternLine(k))));
    }
    html.Line("</ul>");
}

void WritePropertyRow(THtml& html, const TKovIntrinsicProperty& property,
                      const IQuantityPresenter& units) {
    const std::string unit = PropertyUnitText(property, &units);
    // A derived value that can't be computed from the defaults (a division by zero) is left
    // blank: the reference shows what can be set, not a failure.
    std::string value;
    try {
        value = PropertyEditText(property, &units);
    } catch (const std::exception&) {
    }
    html.Line(Format("<tr><td><code>%s</code></td><td>%s</td><td>%s</td><td>%s</td><td>%s</td>"
                     "</tr>",
                     EscapeXml(property.Name()), CaptionToHtml(property.Caption()),
                     EscapeXml(value), EscapeXml(unit),
                     IsReadOnlyForCommands(property) ? "read-only" : "set"));
}

// A table of properties, none when there are none.
void WritePropertyTable(THtml& html, const std::vector<const TKovIntrinsicProperty*>& properties,
                        const IQuantityPresenter& units) {
    if (properties.empty())
        return;
    html.Line("<table><tr><th>Name</th><th>Caption</th><th>Value</th><th>Unit</th>"
              "<th>Access</th></tr>");
    for (const TKovIntrinsicProperty* property : properties)
        WritePropertyRow(html, *property, units);
    html.Line("</table>");
}

// The published properties of an object that are values (object references are reached by
// their own names).
void WriteProperties(THtml& html, const TKovObject& owner, const IQuantityPresenter& units) {
    const auto* object = dynamic_cast<const TKovObservableObject*>(&owner);
    std::vector<const TKovIntrinsicProperty*> properties;
    for (int i = 0; object && i < object->IntrinsicPropertiesCount(); ++i)
        if (const TKovIntrinsicProperty* property = object->GetIntrinsicProperty(i);
            property && property->IsPublished() && !dynamic_cast<const TIPKovObject*>(property))
            properties.push_back(property);
    WritePropertyTable(html, properties, units);
}

// The material's parameters of one model: its user collections as nested groups, the published
// parameters of each with their defaults.
void WriteCollection(THtml& html, const TMXPropertyCollection& collection,
                     const IQuantityPresenter& units, int level) {
    std::vector<const TKovIntrinsicProperty*> properties;
    for (const TKovIntrinsicProperty* property : collection.GroupProperties())
        if (property->IsPublished())
            properties.push_back(property);
    if (!properties.empty())
        html.Line(Format("<p class=\"group\" style=\"margin-left:%dem\">%s</p>", level,
                         EscapeXml(collection.Caption())));
    WritePropertyTable(html, properties, units);
    for (const TMXPropertyCollection* sub : collection.SubCollections())
        WriteCollection(html, *sub, units, level + 1);
}

// A material's user parameters in their groups.
void WriteMaterialParameters(THtml& html, const TKovMaterialX& material,
                             const IQuantityPresenter& units) {
    if (const TMXPropertyCollection* user = material.UserMXPropertyCollection())
        for (const TMXPropertyCollection* top : user->SubCollections())
            WriteCollection(html, *top, units, 0);
}

void WriteObject(THtml& html, const TKovInterpreter& interpreter, const TKovObject& object,
                 const IQuantityPresenter& units, const std::string& note) {
    const std::string name = interpreter.AnyToCommandText(&object);
    html.Heading(3, Format("%s (%s)", name, object.ClassType().TypeName()), Anchor(name));
    if (!note.empty())
        html.Line("<p>" + EscapeXml(note) + "</p>");
    WriteCommands(html, object);
    WriteProperties(html, object, units);
    if (const auto* material = dynamic_cast<const TKovMaterialX*>(&object))
        WriteMaterialParameters(html, *material, units);
}

void WriteMaterialModels(THtml& html, const TQBProject& project) {
    const IQuantityPresenter& units = project.SystemOfUnits();
    html.Heading(2, "Material parameters by soil model", "material-models");
    html.Line("<p>Each parameter is set as <code>set Material.NAME VALUE</code>, in the units "
              "shown; the soil model itself is <code>set Material.SoilModel \"NAME\"</code>. "
              "Values are the defaults of a new material of that model; the last column says "
              "which a command can set.</p>");
    for (const TMXSoil_MaterialModel model : AllSoilMaterialModels()) {
        if (model == mxsmmNone)
            continue;
        auto material = TMaterialXFactory::CreateSoilMaterialX(nullptr, "Material", model,
                                                               project.MaterialQueryFunction());
        const std::string caption = MaterialModelCaption(model);
        html.Heading(3, caption, Anchor("model-" + caption));
        WriteMaterialParameters(html, *material, units);
    }
}

// The commands written without an object (calculate, save, ...): those of the interpreter's
// default objects, without the ones every object has (the project's own are listed with it).
void WriteGlobalCommands(THtml& html, const TKovInterpreter& interpreter,
                         const TQBProject& project) {
    std::set<std::string> common;
    if (const TBaseObjectAccessor* own =
            TObjectAccessors::Instance().GetAccessorFor(project.ClassType()))
        for (int i = 0; i < own->CommandCount(); ++i)
            for (int k = 0; k < own->GetCommand(i).GetSupportedPatternCount(); ++k)
                common.insert(own->GetCommand(i).PatternLine(k));
    html.Heading(2, "Commands without an object", "global");
    html.Line("<ul class=\"commands\">");
    for (const TKovObject* object : interpreter.Environment().DefaultObjects()) {
        const TBaseObjectAccessor* accessor =
            object == &project ? nullptr : TObjectAccessors::Instance().GetAccessorFor(object);
        for (int i = 0; accessor && i < accessor->CommandCount(); ++i) {
            const TKovCommand& command = accessor->GetCommand(i);
            for (int k = 0; k < command.GetSupportedPatternCount(); ++k)
                if (!command.IsDiagnostic() && common.insert(command.PatternLine(k)).second)
                    html.Line(
                        Format("<li><code>%s</code></li>", EscapeXml(command.PatternLine(k))));
        }
    }
    html.Line("</ul>");
}

// Every object type with its commands, the types a project doesn't name at start included.
void WriteAccessors(THtml& html) {
    html.Heading(2, "Commands by object type", "types");
    html.Line("<pre>" + EscapeXml(TObjectAccessors::Instance().SaveCommands(false)) + "</pre>");
}

} // namespace

std::string CommandReferenceHtml(const TQBProject& project) {
    const TKovInterpreter& interpreter = project.Commands().Interpreter();
    const IQuantityPresenter& units = project.SystemOfUnits();
    THtml html;
    html.Line("<!DOCTYPE html>");
    html.Line("<html><head><meta charset=\"utf-8\"><title>Tarnwick command reference</title>");
    html.Line("<style>body{font-family:sans-serif;max-width:70em;margin:auto}"
              "table{border-collapse:collapse;margin-bottom:1em}"
              "td,th{border:1px solid #bbb;padding:2px 6px;text-align:left}"
              "th{background:#eee}code{white-space:nowrap}.group{font-weight:bold}</style>");
    html.Line("</head><body>");
    html.Heading(1, "Tarnwick command reference");
    html.Line("<p>A command line names a command, then what it works on and its parameters: "
              "<code>set Triaxial_1.CellPressure 150</code>, <code>calculate Triaxial_1</code>, "
              "<code>Triaxial_1.Phases[0].Steps</code> (a value is read by naming it). Values are "
              "in the project's units, shown beside each property. Commands without an object go "
              "to the project. Every command that changes data is one undo step.</p>");

    std::vector<std::pair<const TKovObject*, std::string>> objects;
    objects.push_back({&project, "The project: the tests, the material and the commands that "
                                 "run, save and undo."});
    if (const TKovObject* material = project.MainMaterialX())
        objects.push_back({material, "The material under test; its parameters depend on the "
                                     "soil model (see below)."});
    for (int i = 0; i < project.MainTests().Count(); ++i)
        if (const TQBTestBase* test = project.MainTests().GetItems(i)) {
            objects.push_back({test, ""});
            if (test->Phases().Count() > 0)
                objects.push_back({test->Phases().GetItem(0),
                                   "The first phase; the others are Phases[1], Phases[2], ..."});
        }
    if (TKovObjectManager* manager = project.ObjectManager())
        for (const char* option : {"Suction", "Thermal"})
            if (const TKovObject* object = manager->ObjectRegistry().GetObject(option))
                objects.push_back({object, "An option of the selected test."});

    WriteGlobalCommands(html, interpreter, project);
    html.Heading(2, "Objects of a project", "objects");
    html.Line("<ul>");
    for (const auto& [object, note] : objects) {
        const std::string name = interpreter.AnyToCommandText(object);
        html.Line(Format("<li><a href=\"#%s\">%s</a></li>", Anchor(name), EscapeXml(name)));
    }
    html.Line("<li><a href=\"#global\">Commands without an object</a></li>");
    html.Line("<li><a href=\"#material-models\">Material parameters by soil model</a></li>");
    html.Line("<li><a href=\"#types\">Commands by object type</a></li>");
    html.Line("</ul>");
    for (const auto& [object, note] : objects)
        WriteObject(html, interpreter, *object, units, note);
    WriteMaterialModels(html, project);
    WriteAccessors(html);
    html.Line("</body></html>");
    return std::move(html.Text());
}

} // namespace tw
