// Calling a node's operations by their names, as a script does: by IDispatch alone.
#include "commands.h"
#include "exit_code.h"
#include "job_source.h"
#include "server.h"
#include "terminal.h"
#include "text.h"

namespace host {
namespace {

constexpr LCID kNoLocale = 0;  // names are the same in every language

/// "null", a whole number, "@NAME" for a node, else a text.
Value ArgumentOf(const Job& job, const std::wstring& text) {
    Value value;
    if (text == L"null" || (text.size() > 1 && text.front() == L'@')) {
        VARIANT* const object = value.Put();
        object->vt = VT_DISPATCH;
        object->pdispVal = nullptr;
        if (text == L"null") return value;
        object->pdispVal = job.Node(text.substr(1)).node.get();
        object->pdispVal->AddRef();
        return value;
    }
    const auto number = WholeNumber(text);
    return number ? Value::Of(*number) : Value::Of(text);
}

/// How the operation is to be called with so many arguments: a property is read or written,
/// whichever takes them.
WORD KindOf(IDispatch* object, DISPID id, size_t arguments) {
    Ref<ITypeInfo> type;
    const HRESULT status = object->GetTypeInfo(0, 0, type.Put());
    if (FAILED(status)) throw Problem("the node has no type information: " + Reason(status));
    WORD kind = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
    FUNCDESC* function = nullptr;
    for (UINT i = 0; SUCCEEDED(type->GetFuncDesc(i, &function)); ++i) {
        const bool fits = function->memid == id && size_t(function->cParams) == arguments;
        if (fits && function->invkind == INVOKE_PROPERTYPUT) kind = DISPATCH_PROPERTYPUT;
        type->ReleaseFuncDesc(function);
    }
    return kind;
}

std::string Shown(const Value& value) {
    if (const auto node = Ask<IProperty>(value.object()))
        return "node " + OneLine(Utf8(ViewOf(node.get()).name));
    if (value.kind() == VT_EMPTY || value.kind() == VT_NULL) return "nothing";
    if (value.kind() == VT_DISPATCH || value.kind() == VT_UNKNOWN)
        return value.object() ? "object" : "no object";
    return bv::KindName(value.kind()) + ' ' + OneLine(Utf8(value.AsText()));
}

/// What an exception says, and its texts freed.
std::string Told(EXCEPINFO& exception) {
    std::string text = exception.bstrDescription ? Utf8(exception.bstrDescription) : Reason(exception.scode);
    if (exception.bstrSource) text += " (" + Utf8(exception.bstrSource) + ')';
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrHelpFile);
    return text;
}

/// operation: "NAME.Operation". arguments: whole numbers, texts, "null", "@NAME" for a node.
int CallOperation(const JobSource& source, const std::wstring& operation,
                  const std::vector<std::wstring>& arguments) {
    const size_t point = operation.rfind(L'.');
    if (point == std::wstring::npos || point == 0) throw Problem("what is called is written NAME.Operation");
    const auto opened = source.OpenAndSet();
    const Job& job = *opened;
    const NodeView node = job.Node(operation.substr(0, point));
    IDispatch* const object = node.node.get();

    std::wstring name = operation.substr(point + 1);
    LPOLESTR names[] = {name.data()};
    DISPID id = 0;
    HRESULT status = object->GetIDsOfNames(IID_NULL, names, 1, kNoLocale, &id);
    if (status == DISP_E_UNKNOWNNAME) throw Problem("a node has no operation " + Utf8(name));
    if (FAILED(status)) throw Problem("the node can't be called by name: " + Reason(status));

    std::vector<Value> values;
    for (auto text = arguments.rbegin(); text != arguments.rend(); ++text)
        values.push_back(ArgumentOf(job, *text));
    std::vector<VARIANT> passed;  // the last one first; still owned by the values
    for (const Value& value : values) passed.push_back(value.get());
    const WORD kind = KindOf(object, id, arguments.size());
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters = {passed.data(), nullptr, UINT(passed.size()), 0};
    if (kind == DISPATCH_PROPERTYPUT) {
        parameters.rgdispidNamedArgs = &put;
        parameters.cNamedArgs = 1;
    }
    Value result;
    EXCEPINFO exception = {};
    ForgetErrors();
    status = object->Invoke(id, IID_NULL, kNoLocale, kind, &parameters, result.Put(), &exception, nullptr);
    if (status == DISP_E_EXCEPTION) throw Problem(Told(exception));
    if (FAILED(status)) throw Problem("the call is refused: " + Reason(status));
    Print(Shown(result) + '\n');
    return kDone;
}

}  // namespace

void AddCallCommand(CommandLine& line) {
    struct CallArguments {
        JobSource source;
        std::wstring operation;
        std::vector<std::wstring> arguments;
    };
    const auto given = std::make_shared<CallArguments>();
    Command call = line.Add("call", "Calls an operation of a setting by its name, as a script does");
    call.Word("NAME.OPERATION", "Such as Mode.Title", &given->operation);
    call.Words("ARG", "A whole number, a text, null, or @NAME for a setting", &given->arguments, false);
    given->source.AddTo(&call);
    call.Does([given] { return CallOperation(given->source, given->operation, given->arguments); });
}

}  // namespace host
