[ "$(cat target)" = kept ]
