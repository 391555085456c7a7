// What a script can do with the server: cscript //nologo settings.js [FILE]
//
// Objects come by name; nodes come from operations that give them.

var map = new ActiveXObject("BVSchema.Map.1");
var files = new ActiveXObject("BVSchema.MediaFiles.1");
var path = WScript.Arguments.length > 0 ? WScript.Arguments(0) : "C:\\clips\\holiday.avi";

WScript.Echo("inputs at first: " + files.Count);
files.Insert(path);
WScript.Echo("inputs now: " + files.Count);

var input = files.GetTopMedia();
WScript.Echo("first input: " + input.Name + " = " + input.Value);
WScript.Echo("title: " + input.Title + ", hidden: " + input.IsHide + ", type: 0x" + input.Type.toString(16));

// The index finds the node by its name, whatever the case, and reads and writes its value.
map.InsertProperty(input);
var found = map.Property(input.Name.toUpperCase(), input);
WScript.Echo("found in the index: " + (found ? found.Name : "nothing"));
WScript.Echo("by the index: " + map.PropertyVal(input.Name, input));
found.IsHide = 1;
WScript.Echo("hidden now: " + input.IsHide);

// An input that is gone is gone.
files.RemoveItem(input);
WScript.Echo("inputs at last: " + files.Count);
