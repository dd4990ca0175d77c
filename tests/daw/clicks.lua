-- A click every half second of the song, on its own grid wherever the transport starts: a source
-- whose echoes can be told to the sample.
ardour {
	["type"]    = "dsp",
	name        = "Song Clicks",
	category    = "Instrument",
	license     = "GPLv3",
	author      = "Quorvant",
	description = [[A click every half second of the song]]
}

function dsp_ioconfig ()
	return { { audio_in = -1, audio_out = -1 } }
end

function dsp_init (rate)
	period = math.floor (rate / 2)
end

function dsp_run (ins, outs, count)
	local start = Session:transport_sample ()
	for c = 1, #outs do
		local samples = {}
		for s = 1, count do
			samples[s] = 0
			if Session:transport_rolling () and (start + s - 1) % period == period - 1 then
				samples[s] = c == 1 and 0.5 or -0.25
			end
		end
		outs[c]:set_table (samples, count)
	end
end
