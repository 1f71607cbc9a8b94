-- a comment
begin -- another
