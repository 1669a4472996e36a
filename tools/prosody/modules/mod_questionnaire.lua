-- A command with a form (XEP-0050, XEP-0004) that any user may run: a field of every kind, then what
-- has been submitted.

local adhoc_new = module:require "adhoc".new;
local st = require "util.stanza";

local xmlns = "jabber:x:data";

local function form()
	local x = st.stanza("x", { xmlns = xmlns, type = "form" });
	x:text_tag("title", "Questionnaire");
	x:text_tag("instructions", "Answer what you like.");
	x:tag("field", { type = "hidden", var = "FORM_TYPE" }):text_tag("value", "questionnaire"):up();
	x:tag("field", { type = "fixed" }):text_tag("value", "About you"):up();
	x:tag("field", { type = "text-single", var = "name", label = "Name" })
		:tag("required"):up():text_tag("value", "Ann"):up();
	x:tag("field", { type = "text-private", var = "pin", label = "Code" }):up();
	x:tag("field", { type = "text-multi", var = "address", label = "Address" })
		:text_tag("value", "Main Street 1"):text_tag("value", "Verona"):up();
	x:tag("field", { type = "boolean", var = "news", label = "Send me news" }):text_tag("value", "1"):up();
	x:tag("field", { type = "list-single", var = "colour", label = "Colour" })
		:tag("option", { label = "Dark red" }):text_tag("value", "red"):up()
		:tag("option", { label = "Light blue" }):text_tag("value", "blue"):up()
		:text_tag("value", "blue"):up();
	x:tag("field", { type = "jid-single", var = "friend", label = "Friend" }):up();
	x:tag("field", { type = "list-multi", var = "days", label = "Days" })
		:tag("option", { label = "Monday" }):text_tag("value", "mon"):up()
		:tag("option", { label = "Friday" }):text_tag("value", "fri"):up()
		:text_tag("value", "mon"):text_tag("value", "fri"):up();
	x:tag("field", { type = "jid-multi", var = "others", label = "Others" })
		:text_tag("value", "a@localhost"):text_tag("value", "b@localhost"):up();
	return x;
end

-- Answers each submitted field as "var=value,value", in the order in which they came.
local function result(submitted)
	local x = st.stanza("x", { xmlns = xmlns, type = "result" });
	x:text_tag("title", "Thank you");
	for field in submitted:childtags("field", xmlns) do
		local values = {};
		for value in field:childtags("value", xmlns) do
			table.insert(values, value:get_text() or "");
		end
		x:tag("field", { type = "text-single", var = field.attr.var, label = field.attr.var })
			:text_tag("value", field.attr.var .. "=" .. table.concat(values, ",")):up();
	end
	return x;
end

local function handler(_, data, state)
	if data.action == "cancel" then
		return { status = "canceled" };
	elseif state and data.form then
		return { status = "completed", result = nil, other = result(data.form), info = "Received." };
	end
	return { status = "executing", actions = { "complete", default = "complete" }, other = form() }, "asked";
end

module:add_item("adhoc", adhoc_new("Questionnaire", "questionnaire", handler, "any"));
