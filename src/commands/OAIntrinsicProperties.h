#pragma once
// The accessors of intrinsic properties: `set` on each kind, with the value as the user sees it
// (numbers with a unit in the project's presentation unit), and the texts of property values.
//
// A typed set checks, in order: that the property may be written ("Cannot set read-only property
// %s"), that the value lies in its range ("%s must be between %s and %s"), for an enumeration that
// the value names one ("Invalid value: ..."); when only predicted it stops there. After the write
// it checks that the property took the value ("Cannot change value from \"%s\" to \"%s\"").

#include "commands/OAKovObject.h"
#include "objects/IntrinsicPropertyDeclarationList.h"
#include "objects/IntrinsicPropertyDerivedKinds.h"

#include <functional>

namespace tw {

class TKovIntrinsicProperty;

// "Owner.Property": how a command names a property.
std::string PropertyPath(const TKovIntrinsicProperty& property);
// Read-only for commands: marked read-only, refused by the owner, or derived without a setter.
bool IsReadOnlyForCommands(const TKovIntrinsicProperty& property);

class TOAKovIntrinsicProperty : public TOAKovObject {
public:
    explicit TOAKovIntrinsicProperty(
        const TKovClass& servedClass = TKovIntrinsicProperty::StaticClass());

    // The value as stored ("1.5" in base units, "True", the enumeration's string, a name).
    static std::string _ValueToText(const TKovIntrinsicProperty& property);
    // The value as the user sees it: a number with a unit in presentation units with the unit's
    // text ("-100 kN/m²"), an enumeration's caption.
    static std::string ValueToPrettyText(const TKovIntrinsicProperty& property);
    // The value as a command parameter ("-100", "\"Beta\"", "True").
    static std::string ValueToCompactText(const TKovIntrinsicProperty& property);
    static std::string ValueToCompactText(const TKovIntrinsicProperty& property,
                                          const IQuantityPresenter* presenter);
    // Name and pretty value.
    static std::pair<std::string, std::string> ValueToTextPairs(const TKovIntrinsicProperty& p);

    // "%s: %s": the name and the pretty value.
    std::string ObjectToText(const TKovObject* object) const override;
    std::string GetCommandsCompatibleObjectName(const TKovObject& object) const override;
    // The object a property value refers to, for a reference; nothing otherwise.
    TKovObject* GetOwnerObject(const TKovObject& object) const override;

protected:
    // Answers false, with the error in `output`, when the property can't be written.
    static bool CheckWritable(const TKovIntrinsicProperty& property, TCommandOutput& output);
    // Writes unless predicting; reports a refused change (an exception of the framework, or
    // `took` answering false afterwards) with the old and the new value.
    static void Apply(TKovIntrinsicProperty& property, TCommandOutput& output, bool predict,
                      const std::string& newText, const std::function<void()>& write,
                      const std::function<bool()>& took);
};

class TOAIPBoolean : public TOAKovIntrinsicProperty {
public:
    TOAIPBoolean();

private:
    void ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                     TCommandOutput& output, bool predict) const;
};

class TOAIPInteger : public TOAKovIntrinsicProperty {
public:
    TOAIPInteger();

private:
    void ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                     TCommandOutput& output, bool predict) const;
};

class TOAIPDouble : public TOAKovIntrinsicProperty {
public:
    explicit TOAIPDouble(const TKovClass& servedClass = TIPDouble::StaticClass());

protected:
    void ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                     TCommandOutput& output, bool predict) const;
};

// A number given in the presentation unit of the property's quantity.
class TOAIPDoubleWithUnit : public TOAIPDouble {
public:
    TOAIPDoubleWithUnit();
};

class TOAIPText : public TOAKovIntrinsicProperty {
public:
    explicit TOAIPText(const TKovClass& servedClass = TIPText::StaticClass());

protected:
    virtual void ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                             TCommandOutput& output, bool predict) const;
};

class TOAIPIdentification : public TOAIPText {
public:
    TOAIPIdentification();
};

// The owner's name: the rules of `rename`.
class TOAIPName : public TOAIPText {
public:
    TOAIPName();

protected:
    void ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                     TCommandOutput& output, bool predict) const override;
};

// A value by its string or caption, or by its ordinal.
class TOAIPEnumeration : public TOAKovIntrinsicProperty {
public:
    TOAIPEnumeration();

private:
    void ComSetText(TKovObject* object, const TCommandParameterList& parameters,
                    TCommandOutput& output, bool predict) const;
    void ComSetOrdinal(TKovObject* object, const TCommandParameterList& parameters,
                       TCommandOutput& output, bool predict) const;
    void SetIndex(TKovObject* object, int index, const std::string& given, TCommandOutput& output,
                  bool predict) const;
};

// Numbers row by row: in line, in one bracket set, or as one text ("1 2; 3 4").
class TOAIPTable : public TOAKovIntrinsicProperty {
public:
    TOAIPTable();

private:
    void ComSetNumbers(TKovObject* object, const TCommandParameterList& parameters,
                       TCommandOutput& output, bool predict) const;
    void ComSetText(TKovObject* object, const TCommandParameterList& parameters,
                    TCommandOutput& output, bool predict) const;
    void SetValues(TKovObject* object, const std::vector<double>& values, TCommandOutput& output,
                   bool predict) const;
};

// A reference to another object of the class the declaration names.
class TOAIPKovObject : public TOAKovIntrinsicProperty {
public:
    TOAIPKovObject();

private:
    void ComSetValue(TKovObject* object, const TCommandParameterList& parameters,
                     TCommandOutput& output, bool predict) const;
};

// Binary data and pictures: the bytes of a file, named by a text. A picture must be one (PNG,
// JPEG, GIF or BMP).
class TOAIPBlob : public TOAKovIntrinsicProperty {
public:
    TOAIPBlob();

private:
    void ComSetFromFile(TKovObject* object, const TCommandParameterList& parameters,
                        TCommandOutput& output, bool predict) const;
};

void RegisterIntrinsicPropertyAccessors(TObjectAccessors& registry);

} // namespace tw
