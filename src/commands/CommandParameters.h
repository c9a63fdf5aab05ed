#pragma once
// Command parameters and their classes.
//
// The interpreter turns each parameter of a line into an actual parameter: a boolean, an integer,
// a float, a text, an object, or a round bracket set of these. A command declares patterns, each
// a list of parameter classes; a class decides by itself how many actual parameters it takes
// (one number; a number or a property holding one; a repeated list of key-value pairs; all the
// rest of the line). A pattern matches when its classes take the whole list.
//
// Parameter classes are objects of their own (TComParClass), shared by the patterns that use
// them: the plain classes are singletons reached through Class(), the configurable ones
// (sequences, compounds, enumerations) are made by the command that declares them. An actual
// parameter knows its class; a class accepts an actual parameter of its own class or of one
// descending from it.
//
// Lists share their parameters: a matched list holds the same parameters as the list it was
// matched from, and the members a group was expanded into live as long as any list holds them.

#include "objects/KovBaseClasses.h"
#include "objects/QuantityType.h"
#include "objects/VarRec.h"
#include "services/Format.h"
#include "units/QuantityTypeClasses.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tw {

class TKovIntrinsicProperty;

// A fault in the declaration or use of commands: a program fault, never a user's.
TW_DECLARE_EXCEPTION(ECommandError, EKovException)

class TCommandParameter;
class TCommandParameterList;
class TComParClass;
using TComParClassRef = std::shared_ptr<const TComParClass>;
using TCommandParameterRef = std::shared_ptr<TCommandParameter>;

// A text as a command writes it: in double quotes, else in single ones, else in triple double or
// triple single quotes, whichever the text does not contain. The tokenizer reads it back as the
// same text.
std::string QuoteCommandText(const std::string& text);
// Numbers as a command writes them: the shortest text that reads back as the same double.
std::string NumberToCommandText(double value);
// The form in which names are compared when a user types them: a valid identifier (each
// character an identifier can't hold becomes "_"), compared without regard to case.
std::string CommandsCompatibleName(const std::string& name);

// ---------------------------------------------------------------------------------------------
// Parameter classes

class TComParClass {
public:
    TComParClass(std::string className, const TComParClass* parent, std::string typeName);
    virtual ~TComParClass() = default;
    TComParClass(const TComParClass&) = delete;
    TComParClass& operator=(const TComParClass&) = delete;

    const std::string& ClassName() const { return FClassName; }
    const TComParClass* Parent() const { return FParent; }
    bool InheritsFrom(const TComParClass& ancestor) const;
    // The type name shown in a pattern's text ("Integer", "Text", ...); "Any" at the root.
    virtual std::string GetObjectTypeName() const { return FTypeName; }
    // The class as a pattern shows it: "<Integer>".
    virtual std::string AsText() const;
    virtual bool IsSpecial() const { return false; }

    // Whether this class accepts one actual parameter: it is of this class or a descendant.
    bool IsInstance(const TCommandParameter& parameter) const;
    // Takes the actual parameters it accepts from `position` on: on success the position stands
    // behind them. By default one instance of the class.
    virtual bool Matches(const TCommandParameterList& list, int& position) const;
    // As Matches, and puts what was taken into `matched`.
    virtual bool GetMatchedParameters(const TCommandParameterList& list, int& position,
                                      TCommandParameterList& matched) const;

private:
    std::string FClassName;
    const TComParClass* FParent;
    std::string FTypeName;
};

// ---------------------------------------------------------------------------------------------
// Actual parameters

class TCommandParameter {
public:
    virtual ~TCommandParameter() = default;
    virtual const TComParClass& ParamClass() const = 0;
    // The parameter as a command line writes it.
    virtual std::string AsText() const = 0;
    // Same class and same text.
    virtual bool SameAs(const TCommandParameter& other) const;
    std::string GetObjectTypeName() const { return ParamClass().GetObjectTypeName(); }
    // The root class "Any", which accepts every actual parameter.
    static const TComParClassRef& Class();
};

class TComParWithVarRec : public TCommandParameter {
public:
    virtual TVarRec AsVarRec() const = 0;
    static const TComParClassRef& Class();
};

class TComParSimpleValue : public TComParWithVarRec {
public:
    static const TComParClassRef& Class();
};

class TComParBoolean : public TComParSimpleValue {
public:
    explicit TComParBoolean(bool value) : FValue(value) {}
    bool Value() const { return FValue; }
    const TComParClass& ParamClass() const override { return *Class(); }
    std::string AsText() const override { return FValue ? "True" : "False"; }
    TVarRec AsVarRec() const override { return FValue; }
    static const TComParClassRef& Class();

private:
    bool FValue;
};

class TComParNumber : public TComParSimpleValue {
public:
    virtual double AsDouble() const = 0;
    static const TComParClassRef& Class();
};

class TComParDouble : public TComParNumber {
public:
    explicit TComParDouble(double value) : FValue(value) {}
    double Value() const { return FValue; }
    double AsDouble() const override { return FValue; }
    const TComParClass& ParamClass() const override { return *Class(); }
    std::string AsText() const override { return NumberToCommandText(FValue); }
    TVarRec AsVarRec() const override { return FValue; }
    static const TComParClassRef& Class();

private:
    double FValue;
};

class TComParInteger : public TComParNumber {
public:
    explicit TComParInteger(int32_t value) : FValue(value) {}
    int32_t Value() const { return FValue; }
    double AsDouble() const override { return FValue; }
    const TComParClass& ParamClass() const override { return *Class(); }
    std::string AsText() const override { return std::to_string(FValue); }
    TVarRec AsVarRec() const override { return FValue; }
    static const TComParClassRef& Class();

private:
    int32_t FValue;
};

class TComParText : public TComParSimpleValue {
public:
    explicit TComParText(std::string value) : FValue(std::move(value)) {}
    const std::string& Value() const { return FValue; }
    const TComParClass& ParamClass() const override { return *Class(); }
    std::string AsText() const override { return QuoteCommandText(FValue); }
    TVarRec AsVarRec() const override { return FValue; }
    static const TComParClassRef& Class();

private:
    std::string FValue;
};

// An object of the model (not owned; it lives in the model for the life of the command).
class TComParObject : public TComParSimpleValue {
public:
    explicit TComParObject(TKovObject* object) : FObject(object) {}
    TKovObject* Object() const { return FObject; }
    const TComParClass& ParamClass() const override { return *Class(); }
    // The object's name; an intrinsic property as "Owner.Property".
    std::string AsText() const override;
    TVarRec AsVarRec() const override { return FObject; }
    static const TComParClassRef& Class();

private:
    TKovObject* FObject;
};

class TCommandParameterList {
public:
    TCommandParameterList() = default;
    TCommandParameterList(const TCommandParameterList& other) = default;
    TCommandParameterList& operator=(const TCommandParameterList& other) = default;

    int Count() const { return static_cast<int>(FItems.size()); }
    bool Empty() const { return FItems.empty(); }
    TCommandParameter* GetItem(int index) const { return FItems.at(index).get(); }
    const TCommandParameterRef& GetRef(int index) const { return FItems.at(index); }
    TCommandParameter* operator[](int index) const { return FItems[index].get(); }
    TCommandParameter* First() const { return FItems.empty() ? nullptr : FItems.front().get(); }
    TCommandParameter* Last() const { return FItems.empty() ? nullptr : FItems.back().get(); }

    void Add(TCommandParameterRef parameter) { FItems.push_back(std::move(parameter)); }
    template <typename P, typename... Args> P& AddNew(Args&&... args) {
        auto parameter = std::make_shared<P>(std::forward<Args>(args)...);
        P& result = *parameter;
        FItems.push_back(std::move(parameter));
        return result;
    }
    void Insert(int index, TCommandParameterRef parameter);
    void Delete(int index);
    TCommandParameterRef Extract(int index);
    bool Remove(const TCommandParameter* parameter);
    void Assign(const TCommandParameterList& source) { FItems = source.FItems; }
    // Appends `count` items of `source` from `first` on, and removes them there.
    void MoveRangeFrom(TCommandParameterList& source, int first, int count);
    // Appends all items of `source`.
    void Append(const TCommandParameterList& source);
    // Drops the items from `count` on.
    void Truncate(int count);
    void Clear() { FItems.clear(); }
    // Whether an item is SameAs `parameter`.
    bool HasSameItem(const TCommandParameter& parameter) const;
    // Keeps the first of items that are SameAs each other.
    void RemoveDuplicates();
    // The items' texts separated by blanks.
    std::string AsText() const;

private:
    std::vector<TCommandParameterRef> FItems;
};

// A round bracket group: a set of parameters that a class may take as one.
class TComParSetOfParameters_Input : public TComParWithVarRec {
public:
    TComParSetOfParameters_Input() = default;
    explicit TComParSetOfParameters_Input(TCommandParameterList items) : FItems(std::move(items)) {}
    int Count() const { return FItems.Count(); }
    TCommandParameter* GetItem(int index) const { return FItems.GetItem(index); }
    const TCommandParameterList& Items() const { return FItems; }
    TCommandParameterList& Items() { return FItems; }
    // Appends the items to `list`.
    void ConvertToList(TCommandParameterList& list) const { list.Append(FItems); }
    const TComParClass& ParamClass() const override { return *Class(); }
    // "(1 2 3)".
    std::string AsText() const override;
    TVarRec AsVarRec() const override { return AsText(); }
    static const TComParClassRef& Class();

private:
    TCommandParameterList FItems;
};

// ---------------------------------------------------------------------------------------------
// Classes that only patterns use

// Objects of a class of the model (or a descendant).
class TComParObjectOfClass : public TComParClass {
public:
    TComParObjectOfClass(std::string className, const TKovClass& objectClass, std::string typeName);
    bool Matches(const TCommandParameterList& list, int& position) const override;
    virtual bool CanContainObjectOfClass(const TKovObject& object) const;
    const TKovClass& ObjectClass() const { return *FObjectClass; }
    // A class for objects of `objectClass`, with the type name of that class.
    static TComParClassRef ForClass(const TKovClass& objectClass);

private:
    const TKovClass* FObjectClass;
};

// Any object of the model.
struct TComParKovObject {
    static const TComParClassRef& Class();
};

// A value, or an object that is an intrinsic property of the right kind whose value is taken.
class TComParValueOrIntrinsicProperty : public TComParClass {
public:
    TComParValueOrIntrinsicProperty(std::string className, std::string typeName,
                                    std::vector<const TComParClass*> valueClasses,
                                    std::vector<const TKovClass*> propertyClasses,
                                    bool allowInheritedPropertyClasses = true);
    bool Matches(const TCommandParameterList& list, int& position) const override;
    // The subclass's checks: a range, a quantity.
    virtual bool CheckValue(const TCommandParameter& /*parameter*/) const { return true; }
    virtual bool CheckProperty(const TKovIntrinsicProperty& /*property*/) const { return true; }
    // The value of a simple parameter, or of the property a parameter holds. Raises ECommandError
    // for a parameter that carries neither.
    static TVarRec GetValue(const TCommandParameter& parameter);
    // The property a parameter holds, or nullptr.
    static TKovIntrinsicProperty* PropertyOf(const TCommandParameter& parameter);

protected:
    bool AcceptsProperty(const TKovIntrinsicProperty& property) const;

private:
    std::vector<const TComParClass*> FValueClasses;
    std::vector<const TKovClass*> FPropertyClasses;
    bool FAllowInherited;
};

struct TComParOrIPBoolean {
    static const TComParClassRef& Class();
    static bool GetValue(const TCommandParameter& parameter);
};
// An integer or a float, or a property holding a number (an integer or a double, a number with a
// unit in its base unit).
struct TComParOrIPNumber {
    static const TComParClassRef& Class();
    static double GetValue(const TCommandParameter& parameter);
};
struct TComParOrIPInteger {
    static const TComParClassRef& Class();
    static int32_t GetValue(const TCommandParameter& parameter);
};
struct TComParOrIPColour {
    static const TComParClassRef& Class();
    static int32_t GetValue(const TCommandParameter& parameter);
};
struct TComParOrIPText {
    static const TComParClassRef& Class();
    static std::string GetValue(const TCommandParameter& parameter);
};
// A text that holds numbers separated by blanks, commas or semicolons: "1 2.5 -3".
struct TComParArrayOfNumbers {
    static const TComParClassRef& Class();
    // Raises ECommandError "Cannot convert \"%s\" to array" for a text that holds anything else.
    static std::vector<double> GetValue(const TCommandParameter& parameter);
    static bool TryConvert(const std::string& text, std::vector<double>& values);
};
// An object, or an object-valued property whose value is taken.
struct TComParOrIPKovObject {
    static const TComParClassRef& Class();
    // The object, or the value of the object-valued property; nullptr for an empty reference.
    static TKovObject* GetObject(const TCommandParameter& parameter);
};

// A number for a quantity: a plain number is in the project's presentation unit of the quantity.
class TComParDoubleWithUnit_Abstract : public TComParValueOrIntrinsicProperty {
public:
    TComParDoubleWithUnit_Abstract(std::string className, TQuantityType quantity,
                                   bool acceptProperty);
    bool CheckProperty(const TKovIntrinsicProperty& property) const override;
    TQuantityType Quantity() const { return FQuantity; }
    // The value in the base unit: a number through `presenter` (taken as base when nullptr), a
    // property's value as it stands.
    static double GetBaseValue(const TCommandParameter& parameter, TQuantityType quantity,
                               const IQuantityPresenter* presenter);

private:
    TQuantityType FQuantity;
};

template <QuantityTypeClass Q> struct TComParDoubleWithUnit {
    static const TComParClassRef& Class() {
        static const TComParClassRef cls = std::make_shared<TComParDoubleWithUnit_Abstract>(
            Format("TComParDoubleWithUnit<%s>", Q::ClassName()), Q::GetQuantityType(), false);
        return cls;
    }
    static double GetBaseValue(const TCommandParameter& p, const IQuantityPresenter* presenter) {
        return TComParDoubleWithUnit_Abstract::GetBaseValue(p, Q::GetQuantityType(), presenter);
    }
};

// As above, or a number-with-unit property of the same quantity.
template <QuantityTypeClass Q> struct TComParOrIPDoubleWithUnit {
    static const TComParClassRef& Class() {
        static const TComParClassRef cls = std::make_shared<TComParDoubleWithUnit_Abstract>(
            Format("TComParOrIPDoubleWithUnit<%s>", Q::ClassName()), Q::GetQuantityType(), true);
        return cls;
    }
    static double GetBaseValue(const TCommandParameter& p, const IQuantityPresenter* presenter) {
        return TComParDoubleWithUnit_Abstract::GetBaseValue(p, Q::GetQuantityType(), presenter);
    }
};

// ---------------------------------------------------------------------------------------------
// Special classes: they take as many actual parameters as they decide. Matches holds only when
// at least one was taken.

class TComParSpecial : public TComParClass {
public:
    using TComParClass::TComParClass;
    bool IsSpecial() const override { return true; }
    bool Matches(const TCommandParameterList& list, int& position) const override;
    bool GetMatchedParameters(const TCommandParameterList& list, int& position,
                              TCommandParameterList& matched) const override = 0;
};

// An ordered list of classes, asked in turn.
class TCommandParameterClassList {
public:
    TCommandParameterClassList() = default;
    TCommandParameterClassList(std::vector<TComParClassRef> classes)
        : FClasses(std::move(classes)) {}
    int Count() const { return static_cast<int>(FClasses.size()); }
    const TComParClass& GetItem(int index) const { return *FClasses.at(index); }
    const std::vector<TComParClassRef>& Items() const { return FClasses; }
    void Add(TComParClassRef cls) { FClasses.push_back(std::move(cls)); }

    // From `position`, each class in turn; stops at the end of the list or at a class that
    // refuses. Holds when no class refused and all were used; the position then stands behind
    // what was taken.
    bool Matches(const TCommandParameterList& list, int& position, int& matchedCount) const;
    // As Matches, and gives what each class took, one list per class.
    bool Collect(const TCommandParameterList& list, int& position,
                 std::vector<TCommandParameterList>& matched) const;
    // The classes' texts separated by blanks.
    std::string AsText() const;

private:
    std::vector<TComParClassRef> FClasses;
};

class TComParMulti_Virtual : public TComParSpecial {
public:
    TComParMulti_Virtual(std::string className, std::string typeName,
                         TCommandParameterClassList classes, bool allowBracketed);
    const TCommandParameterClassList& Classes() const { return FClasses; }
    bool AllowBracketed() const { return FAllowBracketed; }

protected:
    TCommandParameterClassList FClasses;
    bool FAllowBracketed;
};

// A fixed list of classes, in line or as one bracket set that they use up entirely.
class TComParCompound : public TComParMulti_Virtual {
public:
    TComParCompound(TCommandParameterClassList classes, bool allowBracketed = true,
                    std::string className = "TComParCompound", std::string typeName = "Compound");
    std::string AsText() const override;
    bool GetMatchedParameters(const TCommandParameterList& list, int& position,
                              TCommandParameterList& matched) const override;
};

// A repeated element of classes, from `minCount` to `maxCount` elements (no maximum when
// `hasMax` is false), in line or as one bracket set. With `expandGroups`, a group among the
// parameters stands for its members; it counts as one parameter once they are used up.
class TComParSequence : public TComParMulti_Virtual {
public:
    // Raises ECommandError for bounds that can't work.
    TComParSequence(TCommandParameterClassList element, int minCount, bool hasMax = false,
                    int maxCount = 0, bool allowBracketed = true, bool expandGroups = false,
                    std::string className = "TComParSequence", std::string typeName = "");
    std::string GetObjectTypeName() const override;
    // "<Text>{1,...}".
    std::string AsText() const override;
    bool GetMatchedParameters(const TCommandParameterList& list, int& position,
                              TCommandParameterList& matched) const override;
    int MinCount() const { return FMinCount; }
    int MaxCount() const { return FMaxCount; }

private:
    // The loop over a copy of `list` from `position`; answers the number of elements taken and
    // sets `position` behind them, in positions of `list`.
    int Loop(const TCommandParameterList& list, int& position,
             TCommandParameterList& matched) const;

    int FMinCount;
    int FMaxCount;
    bool FExpandGroups;
};

// Every actual parameter from the position to the end.
class TComParGreedyMatchEverything : public TComParSpecial {
public:
    TComParGreedyMatchEverything();
    bool GetMatchedParameters(const TCommandParameterList& list, int& position,
                              TCommandParameterList& matched) const override;
    static const TComParClassRef& Class();
};

// One text out of a fixed list, compared in the commands-compatible form.
class TComParEnumeration : public TComParSpecial {
public:
    TComParEnumeration(std::vector<std::string> values,
                       std::string className = "TComParEnumeration");
    std::string AsText() const override;
    bool GetMatchedParameters(const TCommandParameterList& list, int& position,
                              TCommandParameterList& matched) const override;
    // The index of the value a text names, or -1.
    int TextToEnumIndex(const std::string& text) const;
    // Raises ECommandError for an index outside the list.
    const std::string& EnumIndexToText(int index) const;
    const std::vector<std::string>& Values() const { return FValues; }

private:
    std::vector<std::string> FValues;
};

// A name (a text) and a value (any parameter).
class TComParKeyValuePair : public TComParCompound {
public:
    TComParKeyValuePair();
    static const TComParClassRef& Class();
};

// One or more key-value pairs, in line or in one bracket set.
class TComParKeyValuePairSequence : public TComParSequence {
public:
    TComParKeyValuePairSequence();
    static const TComParClassRef& Class();
};

// One or more texts or text properties.
class TComParOrIPTextSequence : public TComParSequence {
public:
    TComParOrIPTextSequence();
    static const TComParClassRef& Class();
};

// The pairs of a key-value sequence, as the runner of `setproperties` needs them.
struct TKeyValuePair {
    std::string Key;
    TCommandParameterRef Value;
};
using TKeyValuePairList = std::vector<TKeyValuePair>;
// Reads pairs from a list matched by TComParKeyValuePairSequence (key, value, key, value, ...).
TKeyValuePairList KeyValuePairsOf(const TCommandParameterList& matched);

} // namespace tw
