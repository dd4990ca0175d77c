-- Told by the environment: makes a session with the plug-in on a track, or loads it again; prints
-- the plug-in's parameters and exports what is heard.
--   CORVANE_DAW_STEP  make | load     CORVANE_DAW_DIR  a folder of its own
--   CORVANE_DAW_SET   "title=value;…" of `make`, as the host's own numbers

local step, dir = os.getenv ("CORVANE_DAW_STEP"), os.getenv ("CORVANE_DAW_DIR")
local sessionDir = dir .. "/session"

local function fail (what)
	print ("FAILED: " .. what)
	os.exit (1)
end

AudioEngine:set_backend ("None (Dummy)", "", "")
if step == "make" then
	Session = create_session (sessionDir, "echo", 48000)
else
	Session = load_session (sessionDir, "echo")
end
if not Session then fail ("no session") end

local function plugin (route)
	local proc = route:nth_plugin (1)
	if proc:isnil () then fail ("the plug-in is not on the track") end
	return proc
end

local function titles (insert)
	local found = {}
	local plug = insert:to_insert ():plugin (0)
	for i = 0, plug:parameter_count () - 1 do
		if plug:parameter_is_input (i) then
			table.insert (found, { index = #found, title = plug:parameter_label (i) })
		end
	end
	return found
end

do
	local route
	if step == "make" then
		local tracks = Session:new_audio_track (2, 2, nil, 1, "echo", ARDOUR.PresentationInfo.max_order,
			ARDOUR.TrackMode.Normal, true)
		route = tracks:front ()
		local clicks = ARDOUR.LuaAPI.new_luaproc (Session, "Song Clicks")
		if clicks:isnil () then fail ("no source") end
		route:add_processor_by_index (clicks, 0, nil, true)
		local delay = ARDOUR.LuaAPI.new_plugin (Session, "Corvane QVX77x", ARDOUR.PluginType.VST3, "")
		if delay:isnil () then fail ("the plug-in was not found") end
		route:add_processor_by_index (delay, 1, nil, true)
		for _, p in ipairs (titles (plugin (route))) do
			for title, value in (os.getenv ("CORVANE_DAW_SET") or ""):gmatch ("([^=;]+)=([^;]+)") do
				if p.title == title then
					if not ARDOUR.LuaAPI.set_processor_param (plugin (route), p.index, tonumber (value)) then
						fail ("can't set " .. title)
					end
				end
			end
		end
	else
		route = Session:route_by_name ("echo")
		if route:isnil () then fail ("the track is gone") end
	end
	-- Edits reach the plug-in with the next blocks.
	collectgarbage ()
	ARDOUR.LuaAPI.usleep (500000)
	local delay = plugin (route)
	for _, p in ipairs (titles (delay)) do
		local value, ok = ARDOUR.LuaAPI.get_processor_param (delay, p.index, false)
		print (string.format ("parameter\t%s\t%.9g", p.title, value))
	end
end

do
	local export = Session:simple_export ()
	export:set_name (step)
	export:set_folder (dir)
	export:set_range (0, 5 * 48000)
	if not export:set_preset ("c0ab7a9e-0d0e-4d6c-9d7a-77c0ffee7701") then fail ("no export preset") end
	if not export:run_export () then fail ("export") end
end
print ("exported")
Session:save_state ("", false, false, false, false, false)
collectgarbage ()
close_session ()
print ("closed")
